// Widgets on screen over a window's model, for tests of what is on them.
#pragma once

#include <QDialog>
#include <QLabel>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"
#include "ui/sheets/sheets.h"
#include "ui/widgets/refresher.h"

namespace vestigo::test {

/// What is there by this name.
template <class Widget = QWidget>
Widget& part(const QWidget& whole, const char* name) {
    return *whole.findChild<Widget*>(QLatin1String(name));
}

class OnScreenTest : public testing::Test {
protected:
    /// Shows the window, in which `follower` is redrawn for what changes from now on.
    template <class Follower>
    void show(Follower& follower, QWidget& window) {
        refresher = std::make_unique<Refresher>(content());
        QObject::connect(refresher.get(), &Refresher::changed, &follower, &Follower::refresh);
        follower.refresh(Changes::everything());
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    ContentView& content() { return fixture.content(); }
    /// Shows what has been found and signed since the window was made.
    void showNews() {
        content().scanner().adopt(*fixture.store->record);
        content().scanner().regroup();
        refresher->flush();
    }
    void key(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&widget, key, modifiers);
        refresher->flush();
    }
    /// In the middle of the widget where no place is named.
    void click(QWidget& widget, const QPoint& place = {}, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(&widget, Qt::LeftButton, modifiers, place);
        refresher->flush();
    }

    WindowFixture fixture;
    std::unique_ptr<Refresher> refresher;
};

/// A window with its sheets.
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
