// Runs work on background threads, and posts jobs back to the main thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vestigo {

using Job = std::function<void()>;

/// Runs jobs on the main thread, in the order posted. `post` may be called from any thread. Jobs
/// that are posted when the main thread runs no more jobs are dropped without being run.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    virtual void post(Job job) = 0;
};

/// `utility`: yields processor and disk to the user's other work. `normal`: the user waits for it.
enum class Priority : std::uint8_t { utility, normal };

/// Runs each job on a thread of its own, detached from the caller. The job owns all that it uses.
/// The implementation's destructor waits for all jobs, so one that may take long needs a
/// `CancelFlag`.
class BackgroundTasks {
public:
    virtual ~BackgroundTasks() = default;
    virtual void run(Priority priority, Job job) = 0;
};

/// Wraps a job for a new thread, so that it runs at the priority that the calling thread has now.
[[nodiscard]] Job atPriorityOfThisThread(Job job);

/// A request to stop, shared by a task and its caller. Thread-safe.
class CancelFlag {
public:
    void cancel() { state_->store(true, std::memory_order_relaxed); }
    [[nodiscard]] bool cancelled() const { return state_->load(std::memory_order_relaxed); }

private:
    std::shared_ptr<std::atomic<bool>> state_ = std::make_shared<std::atomic<bool>>(false);
};

/// A running thread. The destructor waits for its end.
class Thread {
public:
    virtual ~Thread() = default;
};

/// Stack size for the threads of a walk. Dozens of stacks of the default size could exhaust a
/// limited address space.
inline constexpr std::size_t smallStack = std::size_t{256} << 10U;

/// Runs the job on a thread with the calling thread's priority and a stack of `stackBytes`. The job
/// must not throw. Null when the system cannot create a thread.
[[nodiscard]] std::unique_ptr<Thread> startThread(Job job, std::size_t stackBytes);

}  // namespace vestigo
