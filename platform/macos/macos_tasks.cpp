#include "platform/macos/macos_tasks.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <pthread/qos.h>

namespace vestigo {
namespace {

void setQualityOfThisThread(Priority priority) {
    const bool utility = priority == Priority::utility;
    pthread_set_qos_class_self_np(utility ? QOS_CLASS_UTILITY : QOS_CLASS_USER_INITIATED, 0);
}

}  // namespace

struct MacOSTasks::Running {
    std::mutex mutex;
    std::condition_variable none;
    std::size_t count = 0;
};

MacOSTasks::MacOSTasks() : running_(std::make_unique<Running>()) {}

MacOSTasks::~MacOSTasks() {
    std::unique_lock lock(running_->mutex);
    running_->none.wait(lock, [this] { return running_->count == 0; });
}

void MacOSTasks::run(Priority priority, Job job) {
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    auto body = [running = running_.get(), caller = std::this_thread::get_id(), priority,
                 job = std::move(job)]() mutable {
        if (std::this_thread::get_id() != caller) setQualityOfThisThread(priority);
        job();
        job = nullptr;
        const std::lock_guard lock(running->mutex);
        --running->count;
        // Under the lock: once it is released, the waiting destructor may take all this away.
        running->none.notify_all();
    };
    try {
        std::thread(body).detach();
    } catch (const std::system_error&) {
        // No more threads to be had: late is better than never.
        body();
    }
}

}  // namespace vestigo
