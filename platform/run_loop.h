// A main-thread queue for a program without an event loop of its own.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/tasks.h"

namespace vestigo {

class RunLoop : public MainQueue {
public:
    void post(Job job) override;
    /// Runs the jobs posted, on the calling thread, waiting for more until `done` holds. It is
    /// asked before every job.
    void runUntil(const std::function<bool()>& done);
    /// Runs what has been posted by now, without waiting.
    void runPosted();

private:
    std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<Job> jobs_;
};

}  // namespace vestigo
