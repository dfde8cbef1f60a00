#include "platform/posix/thread_tasks.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/system_calls.h"

namespace vestigo {

struct ThreadTasks::Running {
    std::mutex mutex;
    std::condition_variable none;
    std::size_t count = 0;
};

ThreadTasks::ThreadTasks() : running_(std::make_unique<Running>()) {}

ThreadTasks::~ThreadTasks() {
    std::unique_lock lock(running_->mutex);
    running_->none.wait(lock, [this] { return running_->count == 0; });
}

void ThreadTasks::run(Priority priority, Job job) {
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    auto body = [running = running_.get(), caller = std::this_thread::get_id(), priority,
                 job = std::move(job)]() mutable {
        if (std::this_thread::get_id() != caller) setPriorityOfThisThread(priority);
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
