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
    /// Runs posted jobs on the calling thread, and waits for more, until `done` returns true.
    /// `done` is asked before every job.
    void runUntil(const std::function<bool()>& done);
    /// Runs the jobs that are in the queue now, without waiting for more.
    void runPosted();

private:
    std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<Job> jobs_;
};

}  // namespace vestigo
