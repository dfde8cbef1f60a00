#include "platform/run_loop.h"

#include <utility>

namespace vestigo {

void RunLoop::post(Job job) {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    posted_.notify_one();
}

void RunLoop::runUntil(const std::function<bool()>& done) {
    while (!done()) {
        Job job;
        {
            std::unique_lock lock(mutex_);
            posted_.wait(lock, [this] { return !jobs_.empty(); });
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        job();
    }
}

void RunLoop::runPosted() {
    std::deque<Job> jobs;
    {
        const std::lock_guard lock(mutex_);
        jobs.swap(jobs_);
    }
    for (const auto& job : jobs) job();
}

}  // namespace vestigo
