// A window with its sheets, for tests of what is on them.
#pragma once

#include <QDialog>
#include <QLabel>
#include <QTest>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"
#include "ui/refresher.h"
#include "ui/sheets.h"

namespace vestigo::test {

class SheetsTest : public testing::Test {
protected:
    void show(const std::string& version = "1.2") {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        sheets = std::make_unique<Sheets>(content(), &window, version);
        refresher = std::make_unique<Refresher>(content());
        QObject::connect(refresher.get(), &Refresher::changed, sheets.get(), &Sheets::refresh);
        sheets->refresh(Changes::everything());
    }
    ContentView& content() { return fixture.content(); }
    /// The open sheet of this name, or null.
    QDialog* sheet(const char* name) {
        refresher->flush();
        for (auto* const each : window.findChildren<QDialog*>(QLatin1String(name))) {
            if (each->isVisible() && QTest::qWaitForWindowActive(each)) return each;
        }
        return nullptr;
    }
    static QStringList textsOf(const QDialog& dialog) {
        QStringList texts;
        for (const auto* const label : dialog.findChildren<QLabel*>()) texts << label->text();
        return texts;
    }

    WindowFixture fixture;
    QWidget window;
    std::unique_ptr<Sheets> sheets;
    std::unique_ptr<Refresher> refresher;
};

}  // namespace vestigo::test
