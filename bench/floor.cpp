// vestigo-floor makes the system calls that no scan of a folder can avoid, and does nothing else,
// so its time is a lower limit for the time of a scan.
//
// It lists a folder with several threads, in any order, and opens each file, reads its first 4096
// bytes and closes it. In another mode it only reads the files' attributes, as a scan does with
// files that it remembers. It leaves out the names that a scan leaves out, so both visit the same
// files. It counts the files and keeps nothing else.
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "bench/floor_rules.h"

namespace {

using vestigo::bench::isDatabase;
using vestigo::bench::isFolderOrFileLeftOut;

enum class Work { readAll, listOnly, readUnknown };

struct Arguments {
    std::string folder;
    unsigned threads = 2;
    Work work = Work::readAll;
};

struct Totals {
    std::uint64_t files = 0;
    std::uint64_t opened = 0;
    std::uint64_t bytes = 0;
};

/// The folders that are not listed yet. A thread that finds none sleeps until there is one, or
/// until no thread can add any.
class FolderQueue {
public:
    explicit FolderQueue(std::string root) { folders_.push_back(std::move(root)); }

    /// Adds the folders found in the last folder and returns the next; absent when all are listed.
    std::optional<std::string> exchange(std::vector<std::string>& found, bool wasBusy) {
        std::unique_lock lock(mutex_);
        if (wasBusy) --busy_;
        const bool several = found.size() > 1;
        for (auto& folder : found) folders_.push_back(std::move(folder));
        found.clear();
        if (waiting_ > 0 && (several || busy_ == 0)) changed_.notify_all();
        ++waiting_;
        changed_.wait(lock, [&] { return !folders_.empty() || busy_ == 0; });
        --waiting_;
        if (folders_.empty()) return std::nullopt;
        auto next = std::move(folders_.back());
        folders_.pop_back();
        ++busy_;
        return next;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> folders_;
    unsigned busy_ = 0;
    unsigned waiting_ = 0;
};

struct KernelEntry {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1];
};

constexpr std::uint8_t typeFolder = 4;
constexpr std::uint8_t typeFile = 8;

class Worker {
public:
    Worker(FolderQueue& queue, Work work) : queue_(queue), work_(work) {}

    void run() {
        bool busy = false;
        while (auto folder = queue_.exchange(found_, busy)) {
            busy = true;
            visitFolder(*folder);
        }
    }
    [[nodiscard]] const Totals& totals() const { return totals_; }

private:
    void visitFolder(const std::string& path) {
        const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
        if (folder < 0) return;
        for (;;) {
            const auto length = syscall(SYS_getdents64, folder, entries_, sizeof entries_);
            if (length <= 0) break;
            visitEntries(folder, path, static_cast<std::size_t>(length));
        }
        close(folder);
    }

    void visitEntries(int folder, const std::string& path, std::size_t length) {
        for (std::size_t at = 0; at < length;) {
            const auto* entry = reinterpret_cast<const KernelEntry*>(entries_ + at);
            at += entry->length;
            const std::string_view name(&entry->name[0]);
            if (isFolderOrFileLeftOut(name)) continue;
            if (entry->type == typeFolder) {
                found_.push_back(path + '/' + std::string(name));
            } else if (entry->type == typeFile && !isDatabase(name)) {
                visitFile(folder, name.data());
            }
        }
    }

    void visitFile(int folder, const char* name) {
        ++totals_.files;
        if (work_ == Work::readAll) {
            readFile(folder, name);
            return;
        }
        struct statx attributes;
        if (statx(folder, name, AT_SYMLINK_NOFOLLOW, wanted, &attributes) != 0) return;
        // The tree generator gives the execute permission to Mach-O files and to no others.
        if (work_ == Work::readUnknown && (attributes.stx_mode & S_IXUSR) == 0) {
            readFile(folder, name);
        }
    }

    void readFile(int folder, const char* name) {
        const int file = openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (file < 0) return;
        const auto length = read(file, header_, sizeof header_);
        ++totals_.opened;
        if (length > 0) totals_.bytes += static_cast<std::uint64_t>(length);
        close(file);
    }

    static constexpr unsigned wanted =
        STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    FolderQueue& queue_;
    Work work_;
    Totals totals_;
    std::vector<std::string> found_;
    alignas(8) char entries_[64 * 1024];
    char header_[4096];
};

std::optional<Arguments> parse(int count, char** words) {
    Arguments arguments;
    for (int i = 1; i < count; ++i) {
        const std::string_view word(words[i]);
        if (word == "--list-only") {
            arguments.work = Work::listOnly;
        } else if (word == "--read-unknown") {
            arguments.work = Work::readUnknown;
        } else if (word == "--threads" && i + 1 < count) {
            arguments.threads = static_cast<unsigned>(std::strtoul(words[++i], nullptr, 10));
        } else if (arguments.folder.empty() && !word.starts_with('-')) {
            arguments.folder = word;
        } else {
            return std::nullopt;
        }
    }
    if (arguments.folder.empty() || arguments.threads == 0) return std::nullopt;
    return arguments;
}

Totals run(const Arguments& arguments) {
    FolderQueue queue(arguments.folder);
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < arguments.threads; ++i) {
        workers.push_back(std::make_unique<Worker>(queue, arguments.work));
        threads.emplace_back([worker = workers.back().get()] { worker->run(); });
    }
    Totals totals;
    for (unsigned i = 0; i < arguments.threads; ++i) {
        threads[i].join();
        totals.files += workers[i]->totals().files;
        totals.opened += workers[i]->totals().opened;
        totals.bytes += workers[i]->totals().bytes;
    }
    return totals;
}

}  // namespace

int main(int count, char** words) {
    const auto arguments = parse(count, words);
    if (!arguments) {
        std::fputs(
            "usage: vestigo-floor FOLDER [--threads N] [--list-only | --read-unknown]\n"
            "  --list-only     list and ask for attributes, open nothing\n"
            "  --read-unknown  open only files without the execute permission\n",
            stderr);
        return 2;
    }
    const auto totals = run(*arguments);
    std::printf("files %ju opened %ju bytes %ju\n", static_cast<std::uintmax_t>(totals.files),
                static_cast<std::uintmax_t>(totals.opened),
                static_cast<std::uintmax_t>(totals.bytes));
    return 0;
}
