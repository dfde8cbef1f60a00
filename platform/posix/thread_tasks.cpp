#include "platform/posix/thread_tasks.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include <sys/mman.h>

#include "platform/posix/system_calls.h"
#include "platform/tasks.h"

namespace vestigo {
namespace {

// The parsers of signatures and property lists call each other deeply.
constexpr std::size_t taskStackBytes = std::size_t{1} << 20U;

/// Keeps address space free until a new thread has made its first allocation. In that moment the
/// allocator sets up a cache for the thread, and it may crash where there is no room for it. With
/// the reserve, a lack of memory shows before the thread starts, as a failure that can be handled.
class AddressSpaceReserve {
public:
    AddressSpaceReserve()
        : start_(::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0)) {}
    AddressSpaceReserve(const AddressSpaceReserve&) = delete;
    AddressSpaceReserve& operator=(const AddressSpaceReserve&) = delete;
    ~AddressSpaceReserve() { release(); }
    explicit operator bool() const { return start_ != MAP_FAILED; }
    void release() {
        if (*this) ::munmap(std::exchange(start_, MAP_FAILED), size);
    }

private:
    static constexpr std::size_t size = std::size_t{4} << 20U;
    void* start_;
};

struct ThreadStart {
    AddressSpaceReserve reserve;
    Job job;
};

void* runJob(void* start) noexcept {
    auto* const given = static_cast<ThreadStart*>(start);
    given->reserve.release();
    const std::unique_ptr<ThreadStart> owned(given);
    // Makes the allocator set up this thread's cache in the space that was just released.
    auto* volatile first = new (std::nothrow) char;
    delete first;
    owned->job();
    return nullptr;
}

std::unique_ptr<ThreadStart> makeThreadStart(const Job& job) {
    try {
        return std::unique_ptr<ThreadStart>(new ThreadStart{{}, job});
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

class PosixThread : public Thread {
public:
    PosixThread() = default;
    PosixThread(const PosixThread&) = delete;
    PosixThread& operator=(const PosixThread&) = delete;
    ~PosixThread() override {
        if (thread_) ::pthread_join(*thread_, nullptr);
    }
    bool start(const Job& job, std::size_t stackBytes) {
        thread_ = startPosixThread(stackBytes, job);
        return thread_.has_value();
    }

private:
    std::optional<pthread_t> thread_;
};

}  // namespace

std::optional<pthread_t> startPosixThread(std::size_t stackBytes, const Job& job) {
    auto start = makeThreadStart(job);
    pthread_attr_t attributes;
    if (!start || !start->reserve || ::pthread_attr_init(&attributes) != 0) return std::nullopt;
    ::pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_t thread{};
    const int error = ::pthread_create(&thread, &attributes, runJob, start.get());
    ::pthread_attr_destroy(&attributes);
    if (error != 0) return std::nullopt;
    (void)start.release();
    return thread;
}

std::unique_ptr<Thread> startThread(Job job, std::size_t stackBytes) {
    auto thread = std::make_unique<PosixThread>();
    if (!thread->start(atPriorityOfThisThread(std::move(job)), stackBytes)) return nullptr;
    return thread;
}

struct ThreadTasks::Running {
    std::mutex mutex;
    std::condition_variable none;
    std::size_t count = 0;
};

ThreadTasks::ThreadTasks(std::function<void()> outOfMemory)
    : running_(std::make_unique<Running>()), outOfMemory_(std::move(outOfMemory)) {}

ThreadTasks::~ThreadTasks() {
    std::unique_lock lock(running_->mutex);
    running_->none.wait(lock, [this] { return running_->count == 0; });
}

void ThreadTasks::run(Priority priority, Job job) {
    const Job body = [this, caller = std::this_thread::get_id(), priority,
                      job = std::move(job)]() mutable {
        if (std::this_thread::get_id() != caller) setPriorityOfThisThread(priority);
        runToItsEnd(std::exchange(job, nullptr));
        const std::lock_guard lock(running_->mutex);
        --running_->count;
        // Notified under the lock: as soon as it is released, the waiting destructor may destroy
        // all this.
        running_->none.notify_all();
    };
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    if (const auto thread = startPosixThread(taskStackBytes, body)) {
        ::pthread_detach(*thread);
    } else {
        // If no thread can be started, the caller runs the task itself.
        body();
    }
}

void ThreadTasks::runToItsEnd(Job job) const {
    try {
        job();
    } catch (const std::bad_alloc&) {
        if (!outOfMemory_) throw;
        job = nullptr;
        outOfMemory_();
    }
}

}  // namespace vestigo
