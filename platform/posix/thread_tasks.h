// Runs each background task on a thread of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include <pthread.h>

#include "platform/tasks.h"

namespace vestigo {

/// Starts a thread, which the caller has to join or detach. Absent when the system cannot create
/// one or lacks memory for it; the job has then not been run. The job must not throw.
[[nodiscard]] std::optional<pthread_t> startPosixThread(std::size_t stackBytes, const Job& job);

/// Utility tasks run at a lowered processor and disk priority, and so do threads that they start
/// with `atPriorityOfThisThread`.
class ThreadTasks : public BackgroundTasks {
public:
    /// `outOfMemory` is called on the thread of a task that ran out of memory, after the task has
    /// ended. When it is empty, the program ends instead.
    explicit ThreadTasks(std::function<void()> outOfMemory = {});
    /// Waits for every task.
    ~ThreadTasks() override;
    void run(Priority priority, Job job) override;

private:
    struct Running;
    void runToItsEnd(Job job) const;

    std::unique_ptr<Running> running_;
    std::function<void()> outOfMemory_;
};

}  // namespace vestigo
