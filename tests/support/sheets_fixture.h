// A window with its sheets, for tests of what is on them.
#pragma once

#include <QDialog>
#include <QLabel>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/support/on_screen.h"
#include "ui/sheets.h"

namespace vestigo::test {

class SheetsTest : public OnScreenTest {
protected:
    void show(const std::string& version = "1.2") {
        sheets = std::make_unique<Sheets>(content(), &window, version);
        OnScreenTest::show(*sheets, window);
    }
    /// The open sheet of this name, or null.
    QDialog* sheet(const char* name) {
        refresher->flush();
        for (auto* const each : window.findChildren<QDialog*>(QLatin1String(name))) {
            if (each->isVisible() && QTest::qWaitForWindowActive(each)) return each;
        }
        return nullptr;
    }
    /// The sheet that must be open now.
    QDialog& opened(const char* name) {
        if (auto* const found = sheet(name)) return *found;
        throw std::runtime_error(std::string("no open sheet ") + name);
    }
    static QStringList textsOf(const QDialog& dialog) {
        QStringList texts;
        for (const auto* const label : dialog.findChildren<QLabel*>()) texts << label->text();
        return texts;
    }

    QWidget window;
    std::unique_ptr<Sheets> sheets;
};

}  // namespace vestigo::test
