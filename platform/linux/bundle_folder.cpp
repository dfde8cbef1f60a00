// A bundle comes from anywhere, and a link in it could lead to any file of the user. To check a
// path and then open it would leave a gap in which the path can change, so the kernel does both in
// one call: openat2(2) with RESOLVE_BENEATH. Where an older kernel
// or a container lacks the call, the path is followed one name at a time: each folder on the way is
// held open, links are read and put in front of the rest of the path, and ".." returns to the
// folder held before instead of asking the file system.
#include "platform/linux/bundle_folder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"

namespace vestigo {
namespace {

constexpr int throughFlags = O_PATH | O_DIRECTORY;

int openBeneath(int folder, const char* path, int flags) {
    struct open_how how {};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH;
    // The kernel answers EAGAIN when something near the path was renamed meanwhile and it cannot
    // tell whether the path stays inside.
    constexpr int mostTries = 20;
    for (int tries = 0;; ++tries) {
        const auto result =
            retrying([&] { return ::syscall(SYS_openat2, folder, path, &how, sizeof how); });
        if (result >= 0 || errno != EAGAIN || tries == mostTries) return static_cast<int>(result);
    }
}

/// The destination of a link. Absent when the name is not that of a link.
std::optional<std::string> linkIn(int folder, const std::string& name) {
    std::array<char, PATH_MAX> text;
    const auto length =
        retrying([&] { return ::readlinkat(folder, name.c_str(), text.data(), text.size()); });
    if (length < 0) return std::nullopt;
    return std::string(text.data(), static_cast<std::size_t>(length));
}

/// Removes the first name from a path, with the slashes after it, and returns it.
std::string removeFirstName(std::string& path) {
    const auto end = std::min(path.find('/'), path.size());
    auto name = path.substr(0, end);
    path.erase(0, path.find_first_not_of('/', end));
    return name;
}

Descriptor failWith(int error) {
    errno = error;
    return {};
}

/// Opens an item below an open folder and follows links as long as they stay inside it. Owns
/// nothing, with errno, when the item cannot be opened.
Descriptor openBeneathStepwise(int folder, std::string path, int flags) {
    int linksLeft = 40;               // As many as the kernel follows.
    std::vector<Descriptor> entered;  // The folders on the way, to which ".." returns.
    const auto here = [&] { return entered.empty() ? folder : entered.back().get(); };
    while (!path.empty()) {
        if (path.starts_with('/')) return failWith(EXDEV);
        const auto name = removeFirstName(path);
        if (name == ".") continue;
        if (name == "..") {
            if (entered.empty()) return failWith(EXDEV);
            entered.pop_back();
        } else if (const auto target = linkIn(here(), name)) {
            if (linksLeft-- == 0) return failWith(ELOOP);
            path = path.empty() ? *target : *target + "/" + path;
        } else if (path.empty()) {
            return openPatiently(here(), name.c_str(), flags | O_NOFOLLOW);
        } else {
            entered.push_back(openPatiently(here(), name.c_str(), throughFlags | O_NOFOLLOW));
            if (!entered.back()) return {};
        }
    }
    return openPatiently(here(), ".", flags);
}

}  // namespace

std::optional<BundleFolder> BundleFolder::open(const std::string& path) {
    auto folder = openPathPatiently(path, throughFlags, throughFlags);
    return folder ? std::optional(BundleFolder(std::move(folder))) : std::nullopt;
}

Descriptor BundleFolder::openInside(const std::string& path, int flags) const {
    Descriptor opened(openBeneath(folder_.get(), path.c_str(), flags));
    // Some containers answer EPERM to calls that they do not know.
    if (opened || (errno != ENOSYS && errno != EPERM)) return opened;
    return openBeneathStepwise(folder_.get(), path, flags);
}

std::optional<FileBytes> BundleFolder::file(const std::string& path) const {
    return FileBytes::of(openInside(path, FileBytes::openFlags));
}

bool BundleFolder::holdsFile(const std::string& path) const {
    const auto found = openInside(path, O_PATH);
    struct stat status {};
    return found && ::fstat(found.get(), &status) == 0 && S_ISREG(status.st_mode);
}

std::vector<std::string> BundleFolder::names(const std::string& path) const {
    const auto folder = openInside(path, throughFlags);
    auto names = folder ? namesIn(folder.get()).value_or(std::vector<std::string>())
                        : std::vector<std::string>();
    std::erase_if(names, [](const std::string& name) { return name.starts_with('.'); });
    std::ranges::sort(names);
    return names;
}

}  // namespace vestigo
