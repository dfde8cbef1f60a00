#include "platform/posix/thread_tasks.h"

#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "platform/posix/posix_threads.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

// Reading signatures and property lists goes some frames deep.
constexpr std::size_t stackBytes = std::size_t{1} << 20U;

}  // namespace

struct ThreadTasks::Running {
    std::mutex mutex;
    std::condition_variable none;
    std::size_t count = 0;
};

ThreadTasks::ThreadTasks(std::function<void()> outOfMemory)
    : running_(std::make_unique<Running>()), outOfMemory_(std::move(outOfMemory)) {}

ThreadTasks::~ThreadTasks() {
    std::unique_lock lock(running_->mutex);
    running_->none.wait(lock, [this] { return running_->count == 0; });
}

void ThreadTasks::run(Priority priority, Job job) {
    const Job body = [this, caller = std::this_thread::get_id(), priority,
                      job = std::move(job)]() mutable {
        if (std::this_thread::get_id() != caller) setPriorityOfThisThread(priority);
        runToItsEnd(std::exchange(job, nullptr));
        const std::lock_guard lock(running_->mutex);
        --running_->count;
        // Under the lock: once it is released, the waiting destructor may take all this away.
        running_->none.notify_all();
    };
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    if (const auto thread = startPosixThread(stackBytes, body)) {
        ::pthread_detach(*thread);
    } else {
        // No more threads to be had: late is better than never.
        body();
    }
}

void ThreadTasks::runToItsEnd(Job job) const {
    try {
        job();
    } catch (const std::bad_alloc&) {
        if (!outOfMemory_) throw;
        job = nullptr;
        outOfMemory_();
    }
}

}  // namespace vestigo
