#include "platform/posix/folder_access.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

/// Null at the end, and null with errno when the folder cannot be read.
const dirent* nextEntry(DIR* listing) {
    return retrying([listing] {
        errno = 0;
        return ::readdir(listing);
    });
}

// Waits while no descriptor is free. Other threads of the scan close theirs within moments; other
// programs may take longer.
template <class Open>
Descriptor patiently(Open open) {
    constexpr int mostTries = 400;
    for (int tries = 0;; ++tries) {
        const int number = retrying(open);
        if (number >= 0) return Descriptor(number);
        const bool exhausted = errno == EMFILE || errno == ENFILE;
        if (!exhausted || tries == mostTries) return {};
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// One call takes less than PATH_MAX bytes. A longer path is opened in pieces, each relative to the
// folder of the piece before.
template <class Open>
Descriptor openInPieces(int start, std::string_view path, int flags, int throughFlags, Open open) {
    Descriptor at;
    while (path.size() >= PATH_MAX) {
        const auto cut = path.rfind('/', PATH_MAX - 1);
        if (cut == std::string_view::npos || cut == 0) return {};
        const std::string piece(path.substr(0, cut));
        at = open(at ? at.get() : start, piece.c_str(), throughFlags);
        if (!at) return {};
        path.remove_prefix(std::min(path.find_first_not_of('/', cut), path.size()));
    }
    return open(at ? at.get() : start, std::string(path).c_str(), flags);
}

Descriptor openPatientlyThroughNoLink(int folder, const char* path, int flags) {
    return patiently([&] { return openThroughNoLink(folder, path, flags | O_CLOEXEC); });
}

/// Opens one name after the other, where the system cannot open a whole path through no link.
Descriptor openStepwise(int root, std::string_view path, int flags, int throughFlags) {
    Descriptor at;
    for (;;) {
        const auto slash = path.find('/');
        const std::string name(path.substr(0, slash));
        const int stepFlags = slash == std::string_view::npos ? flags : throughFlags;
        at = openPatiently(at ? at.get() : root, name.c_str(), stepFlags | O_NOFOLLOW);
        if (!at || slash == std::string_view::npos) return at;
        path.remove_prefix(slash + 1);
    }
}

}  // namespace

Listing openListing(int folder) {
    constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
    const int own = retrying([folder] { return ::openat(folder, ".", folderFlags); });
    Listing listing(own < 0 ? nullptr : retrying([own] { return ::fdopendir(own); }));
    if (!listing && own >= 0) ::close(own);
    return listing;
}

std::optional<std::vector<std::string>> namesIn(int folder) {
    const auto listing = openListing(folder);
    if (!listing) return std::nullopt;
    std::vector<std::string> result;
    while (const auto* const entry = nextEntry(listing.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") result.emplace_back(name);
    }
    return errno == 0 ? std::optional(std::move(result)) : std::nullopt;
}

Descriptor openPatiently(int folder, const char* path, int flags) {
    return patiently([&] { return ::openat(folder, path, flags | O_CLOEXEC); });
}

Descriptor openPathPatiently(std::string_view path, int flags, int throughFlags) {
    return openInPieces(AT_FDCWD, path, flags, throughFlags, openPatiently);
}

Descriptor openFolderBelow(int root, std::string_view path, int flags, int throughFlags) {
    auto folder = openInPieces(root, path, flags, throughFlags, openPatientlyThroughNoLink);
    if (folder || errno != ENOSYS) return folder;
    return openStepwise(root, path, flags, throughFlags);
}

std::optional<std::size_t> readStart(int file, std::span<std::byte> buffer) {
    const auto count = retrying([&] { return ::pread(file, buffer.data(), buffer.size(), 0); });
    if (count < 0) return std::nullopt;
    return static_cast<std::size_t>(count);
}

std::unique_ptr<Folder> emptyFolder() {
    class EmptyFolder : public Folder {
        using Visitor = std::function<bool(const FolderEntry&)>;
        bool list(const Visitor& /*visitor*/) override { return true; }
        std::optional<FileAttributes> attributes(const char* /*name*/) override { return {}; }
        std::unique_ptr<HeaderFile> openFile(const char* /*name*/) override { return nullptr; }
        std::unique_ptr<Folder> openFolder(std::string_view /*path*/) override { return nullptr; }
    };
    return std::make_unique<EmptyFolder>();
}

unsigned maxOpenFoldersBeside(std::size_t openDescriptors) {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
    constexpr std::size_t spare = 2;  // For other parts of this process that open something.
    const auto used = std::max<std::size_t>(openDescriptors, 3) + spare;
    const auto available = limit.rlim_cur > used ? (limit.rlim_cur - used) / 3 : 0;
    return static_cast<unsigned>(std::clamp<rlim_t>(available, 1, 1024));
}

}  // namespace vestigo
