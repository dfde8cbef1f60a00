// Background tasks on threads of their own.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// Utility tasks, and the threads they start, run at a lowered processor and disk priority.
class LinuxTasks : public BackgroundTasks {
public:
    LinuxTasks();
    /// Waits for every task.
    ~LinuxTasks() override;
    void run(Priority priority, Job job) override;

private:
    struct Running;
    std::unique_ptr<Running> running_;
};

}  // namespace vestigo
