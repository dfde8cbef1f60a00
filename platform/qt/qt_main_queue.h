// The main thread's queue, run by Qt's event loop.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// Runs the jobs on the thread that created it, in small portions, so that many jobs leave time for
/// the user's input. A job may run an event loop of its own; later jobs then run in that one.
/// Created while the application object lives; may be destroyed on any thread.
class QtMainQueue : public MainQueue {
public:
    QtMainQueue();
    ~QtMainQueue() override;
    void post(Job job) override;

private:
    class Runner;
    std::shared_ptr<Runner> runner_;
};

}  // namespace vestigo
