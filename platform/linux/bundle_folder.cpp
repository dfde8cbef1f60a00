#include "platform/linux/bundle_folder.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/posix/folder_access.h"
#include "platform/posix/listing.h"
#include "platform/posix/retrying.h"

namespace vestigo {
namespace {

constexpr int throughFlags = O_PATH | O_DIRECTORY;

int openBeneath(int folder, const char* path, int flags) {
    struct open_how how {};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH;
    // While something is renamed near the path, the kernel cannot tell whether it stays inside.
    constexpr int patience = 20;
    for (int tries = 0;; ++tries) {
        const auto result =
            retrying([&] { return ::syscall(SYS_openat2, folder, path, &how, sizeof how); });
        if (result >= 0 || errno != EAGAIN || tries == patience) return static_cast<int>(result);
    }
}

}  // namespace

std::optional<BundleFolder> BundleFolder::open(const std::string& path) {
    auto folder = openPathPatiently(path, throughFlags, throughFlags);
    return folder ? std::optional(BundleFolder(std::move(folder))) : std::nullopt;
}

Descriptor BundleFolder::openInside(const std::string& path, int flags) const {
    Descriptor opened(openBeneath(folder_.get(), path.c_str(), flags));
    // Containers answer with EPERM to calls that they do not know.
    if (opened || (errno != ENOSYS && errno != EPERM)) return opened;
    return openFolderBelowStepwise(folder_.get(), path, flags, throughFlags);
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
