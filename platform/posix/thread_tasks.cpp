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

/// Address space set aside until a new thread has asked for memory for the first time: an allocator
/// that cannot give it a cache of its own may crash instead of saying so.
class Reserve {
public:
    Reserve() : start_(::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0)) {}
    Reserve(const Reserve&) = delete;
    Reserve& operator=(const Reserve&) = delete;
    ~Reserve() { giveBack(); }
    explicit operator bool() const { return start_ != MAP_FAILED; }
    void giveBack() {
        if (*this) ::munmap(std::exchange(start_, MAP_FAILED), size);
    }

private:
    static constexpr std::size_t size = std::size_t{4} << 20U;
    void* start_;
};

struct Start {
    Reserve reserve;
    Job job;
};

void* runJob(void* start) noexcept {
    auto* const given = static_cast<Start*>(start);
    given->reserve.giveBack();
    const std::unique_ptr<Start> owned(given);
    auto* volatile first = new (std::nothrow) char;
    delete first;
    owned->job();
    return nullptr;
}

std::unique_ptr<Start> startOf(const Job& job) {
    try {
        return std::unique_ptr<Start>(new Start{{}, job});
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
    auto start = startOf(job);
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

namespace {

// Reading signatures and property lists goes some frames deep.
constexpr std::size_t stackBytes = std::size_t{1} << 20U;

}  // namespace

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
        // Under the lock: once it is released, the waiting destructor may take all this away.
        running_->none.notify_all();
    };
    {
        const std::lock_guard lock(running_->mutex);
        ++running_->count;
    }
    if (const auto thread = startPosixThread(stackBytes, body)) {
        ::pthread_detach(*thread);
    } else {
        // No more threads to be had: late is better than never.
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
