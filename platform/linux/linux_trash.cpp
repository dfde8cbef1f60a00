#include "platform/linux/linux_trash.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/trash_folder.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

/// Where a rename stays within: one file system, as it is mounted in one place.
struct Mount {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t id = 0;
    bool operator==(const Mount&) const = default;
};

std::optional<Mount> mountOf(int folder, const char* path) {
    struct statx status {};
    if (::statx(folder, path, AT_EMPTY_PATH | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_MNT_ID,
                &status) != 0) {
        return std::nullopt;
    }
    return Mount{status.stx_dev_major, status.stx_dev_minor, status.stx_mnt_id};
}

std::string parentOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 || slash == path.npos ? "/" : path.substr(0, slash);
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

/// An entry of a folder that is held open, so that nothing can take the folder's place meanwhile.
struct Item {
    std::string folderPath;  ///< Without links.
    Descriptor folder;
    std::string name;

    [[nodiscard]] std::string path() const { return joined(folderPath, name); }
};

/// Absent with errno: ESTALE when another item is there.
std::optional<Item> findItem(const std::string& path, const ItemIdentity& expected) {
    Item item;
    item.name = path.substr(path.rfind('/') + 1);
    if (path.empty() || path.front() != '/' || path.find('\0') != path.npos || item.name.empty() ||
        item.name == "." || item.name == "..") {
        errno = ENOTSUP;
        return std::nullopt;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(parentOf(path).c_str(), nullptr), &std::free);
    if (!real) return std::nullopt;
    item.folderPath = real.get();
    item.folder = Descriptor(::open(real.get(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto found = item.folder ? itemIdentity(item.folder.get(), item.name) : std::nullopt;
    if (!found) return std::nullopt;
    if (*found != expected) {
        errno = ESTALE;
        return std::nullopt;
    }
    return item;
}

/// Where the folder is, or would be if it were made.
std::optional<Mount> futureMountOf(std::string folder) {
    for (;;) {
        const auto mount = mountOf(AT_FDCWD, folder.c_str());
        if (mount || errno != ENOENT || folder == "/") return mount;
        folder = parentOf(folder);
    }
}

std::string topOf(std::string folder, const Mount& mount) {
    while (folder != "/" && mountOf(AT_FDCWD, parentOf(folder).c_str()) == mount) {
        folder = parentOf(folder);
    }
    return folder;
}

/// The one all users share must be a real folder in which they cannot touch each other's.
bool isSharedTrash(int top) {
    struct stat status {};
    return ::fstatat(top, ".Trash", &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_mode & S_ISVTX) != 0;
}

std::optional<TrashFolder> openTopTrash(const std::string& top) {
    const auto user = std::to_string(::geteuid());
    const Descriptor folder(::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) return std::nullopt;
    if (isSharedTrash(folder.get())) {
        const Descriptor shared(
            ::openat(folder.get(), ".Trash", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        auto own = shared ? TrashFolder::openIn(shared.get(), user) : std::nullopt;
        if (own) return own;
    }
    return TrashFolder::openIn(folder.get(), ".Trash-" + user);
}

/// 0 or the error.
int moveInto(const TrashFolder& trash, const Item& item, const std::string& origin) {
    for (;;) {
        const auto taken = trash.reserve(item.name, origin);
        if (!taken) return errno;
        const int error = trash.takeIn(item.folder.get(), item.name, *taken);
        if (error == 0) return 0;
        trash.release(*taken);
        if (error != EEXIST) return error;
    }
}

std::string noTrash(int error) {
    return "there is no Trash for its disk (" + trashErrorText(error) + ")";
}

std::optional<std::string> failure(int error) {
    return error == 0 ? std::nullopt : std::optional(trashErrorText(error));
}

/// Absent when it worked, else why not.
std::optional<std::string> move(const Item& item, const std::string& homeTrash) {
    const auto mount = mountOf(item.folder.get(), "");
    if (!mount) return trashErrorText(errno);
    if (futureMountOf(homeTrash) == mount) {
        const auto trash = TrashFolder::openHome(homeTrash);
        if (!trash) return "the Trash cannot be used (" + trashErrorText(errno) + ")";
        return failure(moveInto(*trash, item, item.path()));
    }
    const auto top = topOf(item.folderPath, *mount);
    const auto trash = openTopTrash(top);
    if (!trash) return noTrash(errno);
    return failure(moveInto(*trash, item, item.path().substr(joined(top, "").size())));
}

}  // namespace

LinuxTrash::LinuxTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {}

std::optional<std::string> LinuxTrash::moveToTrash(const std::string& path,
                                                   const ItemIdentity& item) {
    const auto found = findItem(path, item);
    const auto why = found ? move(*found, homeTrash_) : trashErrorText(errno);
    if (!why) return std::nullopt;
    const auto name = path.substr(path.rfind('/') + 1);
    return "“" + (name.empty() ? path : name) + "” could not be moved to the Trash: " + *why + ".";
}

std::string trashErrorText(int error) {
    switch (error) {
        case EACCES:
        case EPERM: return "permission denied";
        case ENOENT:
        case ENOTDIR: return "it is no longer there";
        case ESTALE: return "another item has taken its place";
        case EROFS: return "the disk is read-only";
        case ENOSPC:
        case EDQUOT: return "the disk is full";
        case EBUSY: return "it is in use";
        case EINVAL: return "it holds the Trash itself";
        case ENAMETOOLONG: return "its path is too long";
        case EXDEV: return "it lies on another disk than its Trash";
        case ENOTSUP: return "it cannot be moved";
    }
    return std::generic_category().message(error);
}

}  // namespace vestigo
