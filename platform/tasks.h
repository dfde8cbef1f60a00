// Work off the main thread, and the way back to it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vestigo {

using Job = std::function<void()>;

/// Runs jobs on the main thread, in the order posted. `post` may be called from any thread, also
/// when nobody runs the jobs any more: they are then dropped unrun.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    virtual void post(Job job) = 0;
};

/// `utility`: yields processor and disk to what the user is doing. `normal`: someone waits for it.
enum class Priority : std::uint8_t { utility, normal };

/// Runs each job on a thread of its own, detached from the caller. The job owns what it works on.
/// The implementation's destructor waits for all of them, so whoever starts one that takes long
/// gives it a `CancelFlag`.
class BackgroundTasks {
public:
    virtual ~BackgroundTasks() = default;
    virtual void run(Priority priority, Job job) = 0;
};

/// The job for a thread started by hand, at the priority that the caller's thread has now.
[[nodiscard]] Job atPriorityOfThisThread(Job job);

/// A request to stop, shared by a task and its asker. Thread-safe.
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

/// Enough for a walk. Dozens of stacks of default size would use up the address space of a process
/// that is given little.
inline constexpr std::size_t smallStack = std::size_t{256} << 10U;

/// Runs the job on a thread with the priority of the calling one and a stack of so many bytes. The
/// job must not throw. Null when the system has no thread to give.
[[nodiscard]] std::unique_ptr<Thread> startThread(Job job, std::size_t stackBytes);

}  // namespace vestigo
