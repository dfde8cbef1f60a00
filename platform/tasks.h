// Runs work on background threads, and posts jobs back to the main thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

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

/// Leads to an object for as long as it lives. Copies may be held and destroyed on any thread, so a
/// background job carries one along and looks at it once it is back on the main thread.
template <class T>
class WeakRef {
public:
    /// The object, or null once it is gone. Only on the main thread, where the object is destroyed:
    /// the pointer is good until something there may destroy it.
    [[nodiscard]] T* get() const {
        const auto object = object_.lock();
        return object ? *object : nullptr;
    }
    /// Whether the object is gone. On another thread it may go right after the answer.
    [[nodiscard]] bool expired() const { return object_.expired(); }

private:
    template <class>
    friend class WeakAnchor;
    explicit WeakRef(std::weak_ptr<T*> object) : object_(std::move(object)) {}

    std::weak_ptr<T*> object_;
};

/// Owned by an object to which background work reports back: all references to the object end with
/// the anchor. It is the last data member, so that it goes before anything that a report touches.
template <class T>
class WeakAnchor {
public:
    explicit WeakAnchor(T& object) : object_(std::make_shared<T*>(&object)) {}
    ~WeakAnchor() = default;
    WeakAnchor(const WeakAnchor&) = delete;
    WeakAnchor& operator=(const WeakAnchor&) = delete;

    [[nodiscard]] WeakRef<T> ref() const { return WeakRef<T>(object_); }

private:
    std::shared_ptr<T*> object_;
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
