// The main thread's queue on Qt's event loop.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// Runs the jobs on the thread that made it, in small portions, so that a flood of them leaves room
/// for what the user does. A job may run an event loop of its own; later jobs then go on in it.
/// Made while the application object lives; may be destroyed on any thread.
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
