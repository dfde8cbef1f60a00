// Jobs wait in a queue under a lock, and at most one wake-up event at a time is on its way to the
// main thread. The event runs jobs for some milliseconds; before each job, the next wake-up is
// posted if there are more. So after the portion, or inside a job that runs an event loop of its
// own (a dialog), the event loop goes on with the rest, after the user's input, which has a higher
// priority.
//
// One posted event per job would be simpler, but a scan posts thousands of jobs, and Qt would run
// them all before it draws or reads the keyboard.
//
// The runner may lose its last owner while one of its own jobs runs, or on another thread. It is
// then deleted by the event loop; otherwise at once.
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

/// Lives on the main thread; `push` and `close` may be called on any thread.
class QtMainQueue::Runner : public QObject,
                            public std::enable_shared_from_this<QtMainQueue::Runner> {
public:
    static std::shared_ptr<Runner> make() {
        return {new Runner, [](Runner* runner) {
                    // It cannot be deleted while it handles an event, nor from another thread.
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
    /// Drops jobs that will not be run. They are destroyed outside the lock, as their destructors
    /// may do anything.
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
            // Keeps this alive, as a job may release the queue. When an event comes after all
            // owners have gone, there is nothing to lock and nothing is run.
            if (const auto self = weak_from_this().lock()) runPortion();
        }
        if (outermost) running_ = false;
        return true;
    }

private:
    /// Called with the lock held.
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
    /// Once this has posted the wake-up, another event may run the rest, even from inside the job.
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
    bool awake_ = false;  ///< A wake-up event is on its way; no second one is posted.
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
