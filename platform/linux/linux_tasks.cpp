#include "platform/linux/linux_tasks.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vestigo {
namespace {

void lowerPriorityOfThisThread() {
    // On Linux both belong to the thread, and the threads it starts inherit them.
    constexpr int utilityNice = 10;
    constexpr int processClass = 1;                // IOPRIO_WHO_PROCESS
    constexpr int lowestBestEffort = 2 << 13 | 7;  // IOPRIO_CLASS_BE, level 7
    const auto thread = static_cast<id_t>(gettid());
    setpriority(PRIO_PROCESS, thread, utilityNice);
    syscall(SYS_ioprio_set, processClass, 0, lowestBestEffort);
}

}  // namespace

struct LinuxTasks::Running {
    std::mutex mutex;
    std::condition_variable none;
    std::size_t count = 0;
};

LinuxTasks::LinuxTasks() : running_(std::make_unique<Running>()) {}

LinuxTasks::~LinuxTasks() {
    std::unique_lock lock(running_->mutex);
    running_->none.wait(lock, [this] { return running_->count == 0; });
}

void LinuxTasks::run(Priority priority, Job job) {
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    auto body = [running = running_.get(), caller = std::this_thread::get_id(), priority,
                 job = std::move(job)]() mutable {
        if (priority == Priority::utility && std::this_thread::get_id() != caller)
            lowerPriorityOfThisThread();
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
