// Background tasks on threads of their own.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include <pthread.h>

#include "platform/tasks.h"

namespace vestigo {

/// The thread is to be joined or detached. Absent when the system has none to give or no memory for
/// it; the job has then not been run. The job must not throw.
[[nodiscard]] std::optional<pthread_t> startPosixThread(std::size_t stackBytes, const Job& job);

/// Utility tasks run at a lowered processor and disk priority. The threads they start do where they
/// are given `atPriorityOfThisThread`.
class ThreadTasks : public BackgroundTasks {
public:
    /// `outOfMemory` is called on the thread of a task that ran out of memory, after it has ended.
    /// Empty: the program then ends.
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
