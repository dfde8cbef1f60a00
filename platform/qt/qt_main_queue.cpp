#include "platform/qt/qt_main_queue.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace vestigo {
namespace {

constexpr qint64 millisecondsPerTurn = 10;

QEvent::Type wakeUp() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

}  // namespace

/// Lives on the main thread; `pop` and `push` are for all threads.
class QtMainQueue::Runner : public QObject,
                            public std::enable_shared_from_this<QtMainQueue::Runner> {
public:
    static std::shared_ptr<Runner> make() {
        return {new Runner, [](Runner* runner) {
                    // In an event of its own, or on another thread, it cannot go at once.
                    if (runner->running_ || QThread::currentThread() != runner->thread()) {
                        runner->deleteLater();
                    } else {
                        delete runner;
                    }
                }};
    }
    void push(Job job) {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
        wake();
    }
    /// Jobs that nobody will run are dropped, outside of the lock: they own things.
    void close() {
        std::deque<Job> dropped;
        const std::lock_guard lock(mutex_);
        dropped.swap(jobs_);
        closed_ = true;
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() != wakeUp()) return QObject::event(event);
        const bool outermost = !std::exchange(running_, true);
        {
            // A job may let go of the queue, and an event may come when all have.
            if (const auto self = weak_from_this().lock()) runPortion();
        }
        if (outermost) running_ = false;
        return true;
    }

private:
    /// With the lock held.
    void wake() {
        if (awake_ || closed_ || jobs_.empty()) return;
        awake_ = true;
        QCoreApplication::postEvent(this, new QEvent(wakeUp()), Qt::LowEventPriority);
    }
    void runPortion() {
        QElapsedTimer turn;
        turn.start();
        {
            const std::lock_guard lock(mutex_);
            awake_ = false;
        }
        do {
            auto job = pop();
            if (!job) return;
            job();
        } while (turn.elapsed() < millisecondsPerTurn);
    }
    /// From here on another event may run the rest, also from inside the job.
    Job pop() {
        const std::lock_guard lock(mutex_);
        if (jobs_.empty()) return nullptr;
        auto job = std::move(jobs_.front());
        jobs_.pop_front();
        wake();
        return job;
    }

    std::mutex mutex_;
    std::deque<Job> jobs_;
    bool awake_ = false;  ///< An event, and never a second one, is on its way.
    bool closed_ = false;
    bool running_ = false;  ///< Main thread only.
};

QtMainQueue::QtMainQueue() : runner_(Runner::make()) {}

QtMainQueue::~QtMainQueue() {
    runner_->close();
}

void QtMainQueue::post(Job job) {
    runner_->push(std::move(job));
}

}  // namespace vestigo
