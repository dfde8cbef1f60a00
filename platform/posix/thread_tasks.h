// Background tasks on threads of their own.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// Utility tasks run at a lowered processor and disk priority. The threads they start do where they
/// are given `atPriorityOfThisThread`.
class ThreadTasks : public BackgroundTasks {
public:
    ThreadTasks();
    /// Waits for every task.
    ~ThreadTasks() override;
    void run(Priority priority, Job job) override;

private:
    struct Running;
    std::unique_ptr<Running> running_;
};

}  // namespace vestigo
