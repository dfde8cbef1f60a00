// A whole window on a screen that is not there, over a model of the test's own.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QTest>

#include "tests/support/test.h"
#include "tests/support/window_fakes.h"
#include "ui/main_window.h"

namespace vestigo::test {

class WindowTest : public testing::Test {
protected:
    ~WindowTest() override { delete window; }
    void open() {
        window = new MainWindow(fixture.services(), "1.2");
        window->resize(1280, 600);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        refresh();
    }
    ContentView& content() { return window->content(); }
    bool scanning() { return content().scanner().scanning(); }
    /// Draws at once what has changed.
    void refresh() {
        QCoreApplication::processEvents();
        window->findChild<Refresher*>()->flush();
    }
    /// Shows what has been found and signed since the window was made.
    void showNews() {
        content().scanner().adopt(*fixture.store->record);
        content().scanner().regroup();
        refresh();
    }
    /// A folder with nothing in it is scanned from now on.
    void chooseEmptyFolder() {
        content().chooseFolder("/nowhere");
        refresh();
    }
    /// The part of this name; the first one, if there are several.
    template <class Widget = QWidget>
    static Widget& part(const QWidget& whole, const char* name) {
        if (auto* const found = whole.findChild<Widget*>(QLatin1String(name))) return *found;
        throw std::runtime_error(std::string("there is no ") + name);
    }
    template <class Widget = QWidget>
    Widget& part(const char* name) {
        return part<Widget>(*window, name);
    }
    /// Goes through the whole window system, as from a keyboard.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QWidget* top = window;
        if (auto* const sheet = QApplication::activeModalWidget()) top = sheet;
        if (auto* const popup = QApplication::activePopupWidget()) top = popup;
        QTest::keyClick(top->windowHandle(), key, modifiers);
        refresh();
    }
    void keyOn(QWidget& widget, Qt::Key which) {
        widget.activateWindow();
        widget.setFocus();
        ASSERT_TRUE(QTest::qWaitFor([&] { return widget.hasFocus(); })) << which;
        key(which);
    }
    /// In the middle of the widget where no place is named.
    void click(QWidget& widget, const QPoint& place = {}, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(&widget, Qt::LeftButton, modifiers, place);
        refresh();
    }
    /// The open sheet of this name, or null.
    QDialog* sheet(const char* name) {
        refresh();
        for (auto* const each : window->findChildren<QDialog*>(QLatin1String(name))) {
            if (!each->isVisible()) continue;
            each->activateWindow();
            if (QTest::qWaitForWindowActive(each)) return each;
        }
        return nullptr;
    }
    /// The sheet that must be open now.
    QDialog& opened(const char* name) {
        if (auto* const found = sheet(name)) return *found;
        throw std::runtime_error(std::string("no open sheet ") + name);
    }

    WindowFixture fixture;
    QPointer<MainWindow> window;
};

}  // namespace vestigo::test
