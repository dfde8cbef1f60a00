// The application object of the program with the window.
#pragma once

#include <QApplication>
#include <functional>
#include <new>
#include <utility>

namespace vestigo {

/// An application that survives a lack of memory: it gives up the event whose handling ran out of
/// memory, reports that to the windows, and goes on.
class LastingApplication : public QApplication {
public:
    using QApplication::QApplication;

    void setOutOfMemoryReport(std::function<void()> report) { report_ = std::move(report); }
    bool notify(QObject* receiver, QEvent* event) override {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::bad_alloc&) {
            if (report_) report_();
            return false;
        }
    }

private:
    std::function<void()> report_;
};

}  // namespace vestigo
