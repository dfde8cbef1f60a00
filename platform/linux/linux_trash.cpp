// A removal must never hit another item than the one the user saw. The folder and the item are
// opened first, and everything after that goes by these descriptors: while they are open, no other
// folder can take the place of this one, and no other item can get the inode number of this one. A
// rename still goes by name, so the name is checked immediately before it, and after it the moved
// item is compared with the open one. If another item came in between, it is moved back.
//
// Items are only renamed, never copied: a copy that is interrupted would leave half an item, and
// one that succeeds would lose what the copy cannot express. So the Trash has to lie on the item's
// own mount.
#include "platform/linux/linux_trash.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/cleanup_journal.h"
#include "platform/linux/trash_folder.h"
#include "platform/paths.h"
#include "platform/posix/atomic_file.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

std::string parentOf(const std::string& path) {
    const auto folder = folderOf(path);
    return folder.empty() ? "/" : std::string(folder);
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

/// An entry of a folder, with both held open: nothing can take the folder's place, and no other
/// item gets this one's inode number.
struct Item {
    std::string folderPath;  ///< The real path, without links.
    Descriptor folder;
    std::string name;
    Descriptor handle;

    [[nodiscard]] std::string path() const { return joined(folderPath, name); }
    [[nodiscard]] bool isStillThere() const { return isOpenAs(handle.get(), folder.get(), name); }
};

Descriptor openAsPlace(int folder, const char* path, int flags) {
    return Descriptor(
        retrying([&] { return ::openat(folder, path, O_PATH | O_NOFOLLOW | O_CLOEXEC | flags); }));
}

bool namesAnEntry(const std::string& path) {
    return path.starts_with('/') && path.find('\0') == path.npos && !path.ends_with('/') &&
           !path.ends_with("/.") && !path.ends_with("/..");
}

/// Absent with errno: ESTALE when another item lies at the path.
std::optional<Item> findItem(const std::string& path, const ItemIdentity& expected) {
    if (!namesAnEntry(path)) {
        errno = ENOTSUP;
        return std::nullopt;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(
        retrying([&] { return ::realpath(parentOf(path).c_str(), nullptr); }), &std::free);
    if (!real) return std::nullopt;
    Item item{real.get(), {}, std::string(nameOf(path)), {}};
    item.folder = openAsPlace(AT_FDCWD, real.get(), O_DIRECTORY);
    if (!item.folder) return std::nullopt;
    item.handle = openAsPlace(item.folder.get(), item.name.c_str(), 0);
    // Asks the open item, as something else may have its name by now.
    const auto found = item.handle ? itemIdentity(item.handle.get(), "") : std::nullopt;
    if (!found) return std::nullopt;
    if (*found == expected && item.isStillThere()) return item;
    errno = ESTALE;
    return std::nullopt;
}

/// The mount on which the folder lies, or would lie if it were created. Absent with errno.
std::optional<Mount> futureMountOf(std::string folder) {
    for (;;) {
        const auto mount = mountOf(AT_FDCWD, folder);
        if (mount || errno != ENOENT || folder == "/") return mount;
        folder = parentOf(folder);
    }
}

/// The uppermost folder of the mount that a folder lies on. Absent with errno.
std::optional<std::string> topOf(std::string folder, const Mount& mount) {
    while (folder != "/") {
        const auto above = mountOf(AT_FDCWD, parentOf(folder));
        if (!above) return std::nullopt;
        if (*above != mount) break;
        folder = parentOf(folder);
    }
    return folder;
}

/// A Trash that all users share must be a real folder with the sticky bit, in which they cannot
/// touch each other's items.
bool isSharedTrash(int top) {
    struct stat status {};
    return retrying([&] { return ::fstatat(top, ".Trash", &status, AT_SYMLINK_NOFOLLOW); }) == 0 &&
           S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

Descriptor openRealFolder(int parent, const char* path) {
    return Descriptor(retrying(
        [&] { return ::openat(parent, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
}

/// Absent with errno.
std::optional<TrashFolder> openTopTrash(const std::string& top) {
    const auto user = std::to_string(::geteuid());
    const auto folder = openRealFolder(AT_FDCWD, top.c_str());
    if (!folder) return std::nullopt;
    if (isSharedTrash(folder.get())) {
        const auto shared = openRealFolder(folder.get(), ".Trash");
        auto own = shared ? TrashFolder::openIn(shared.get(), user) : std::nullopt;
        if (own) return own;
    }
    return TrashFolder::openIn(folder.get(), ".Trash-" + user);
}

using Failure = std::optional<std::string>;

/// Moves an item back that came to the name between the last check and the move. Absent when the
/// right item was moved.
Failure sendBackIntruder(const TrashFolder& trash, const Item& item,
                         const TrashReservation& taken) {
    // The move itself succeeded, so a failure to check it is no failure.
    const auto arrived = itemIdentity(trash.files(), taken.name);
    if (!arrived || isOpenAs(item.handle.get(), trash.files(), taken.name)) return std::nullopt;
    if (!renameIfFree(trash.files(), taken.name, item.folder.get(), item.name)) {
        return trashErrorText(ESTALE) + " and lies in the Trash as “" + taken.name + "”";
    }
    trash.release(taken);
    return trashErrorText(ESTALE);
}

Failure moveInto(const TrashFolder& trash, const Item& item, const std::string& origin) {
    constexpr int mostCollisions = 100;  // With items that other programs put there without a note.
    unsigned attempt = 0;
    for (int i = 0; i < mostCollisions; ++i) {
        const auto taken = trash.reserve(item.name, origin, attempt);
        if (!taken) return trashErrorText(errno);
        attempt = taken->attempt;
        const int error =
            item.isStillThere() ? trash.moveIn(item.folder.get(), item.name, *taken) : ESTALE;
        // On network file systems a move may succeed and still report a failure.
        if (error == 0 || isOpenAs(item.handle.get(), trash.files(), taken->name)) {
            return sendBackIntruder(trash, item, *taken);
        }
        trash.release(*taken);
        if (error != EEXIST) return trashErrorText(error);
    }
    return trashErrorText(EEXIST);
}

/// The Trash for an item, and the item's path as its note has to give it.
struct Destination {
    TrashFolder trash;
    std::string top;  ///< The top folder of the Trash's disk; empty for the user's main Trash.
    std::string origin;
};

using DestinationOrReason = std::variant<Destination, std::string>;

std::string withReason(const char* what) {
    return what + (" (" + trashErrorText(errno)) + ")";
}

DestinationOrReason destinationOf(const Item& item, const std::string& homeTrash) {
    const auto mount = mountOf(item.folder.get(), "");
    if (!mount) return withReason("its disk cannot be looked at");
    const auto home = futureMountOf(homeTrash);
    if (!home) return withReason("the Trash cannot be looked at");
    if (*home == *mount) {
        auto trash = TrashFolder::openHome(homeTrash);
        if (!trash) return withReason("the Trash cannot be used");
        return Destination{std::move(*trash), {}, item.path()};
    }
    const auto top = topOf(item.folderPath, *mount);
    auto trash = top ? openTopTrash(*top) : std::nullopt;
    if (!trash) return withReason("there is no Trash for its disk");
    return Destination{std::move(*trash), *top, item.path().substr(joined(*top, "").size())};
}

std::string notMoved(const std::string& path, const std::string& why) {
    const auto name = std::string(nameOf(path));
    return "“" + (name.empty() ? path : name) + "” could not be moved to the Trash: " + why + ".";
}

/// Whether a rename can move the item to this folder. An item that has gone counts as within reach:
/// the script will find that out.
bool isInReachOf(int folder, const std::string& path) {
    const auto mount = mountOf(AT_FDCWD, std::string(folderOf(path)) + '/');
    return mount ? mount == mountOf(folder, "") : errno == ENOENT;
}

CleanupPlan withoutTrash() {
    CleanupPlan plan;
    plan.error = "The Trash cannot be used: " + trashErrorText(errno) + ".";
    return plan;
}

}  // namespace

LinuxTrash::LinuxTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {
    struct stat status {};
    if (retrying([&] { return ::lstat(homeTrash_.c_str(), &status); }) != 0) return;
    if (const auto trash = TrashFolder::openHome(homeTrash_)) trash->clearLeftovers();
}

std::optional<std::string> LinuxTrash::moveToTrash(const std::string& path,
                                                   const ItemIdentity& item) {
    const auto found = findItem(path, item);
    if (!found) return notMoved(path, trashErrorText(errno));
    const auto place = destinationOf(*found, homeTrash_);
    const auto* const destination = std::get_if<Destination>(&place);
    if (!destination) return notMoved(path, std::get<std::string>(place));
    const bool isOtherDisk = !destination->top.empty();
    if (isOtherDisk && cleared_.insert(destination->top).second)
        destination->trash.clearLeftovers();
    const auto why = moveInto(destination->trash, *found, destination->origin);
    return why ? std::optional(notMoved(path, *why)) : std::nullopt;
}

LinuxCleanupTrash::LinuxCleanupTrash(std::string homeTrash) : homeTrash_(std::move(homeTrash)) {}

CleanupPlan LinuxCleanupTrash::plan(const std::vector<CleanupItem>& items) {
    auto trash = TrashFolder::openHome(homeTrash_);
    // The user's Trash may itself be a link to another place. The script follows no links, so it
    // gets the real path.
    const auto place = trash ? PosixFiles().resolved(homeTrash_) : std::nullopt;
    if (!place) return withoutTrash();
    CleanupPlan plan;
    std::vector<std::string> origins;
    for (const auto& item : items) {
        if (isInReachOf(trash->files(), item.path)) {
            plan.items.push_back(item);
            origins.push_back(item.path);
        } else {
            plan.onOtherDisks.push_back(item.path);
        }
    }
    std::shared_ptr<CleanupJournal> journal = CleanupJournal::make(std::move(*trash), origins);
    if (!journal) return withoutTrash();
    plan.folder = *place + "/files";
    plan.longestName = longestTrashName;
    plan.notes = CleanupNotes{.folder = *place + "/info",
                              .ending = trashNoteEnding,
                              .journal = *place + "/" + journal->name()};
    plan.prepared = std::move(journal);
    return plan;
}

std::string trashErrorText(int error) {
    switch (error) {
        case EACCES:
        case EPERM: return "permission denied";
        case ENOENT:
        case ENOTDIR: return "it is no longer there";
        case ESTALE: return "another item has taken its place";
        case EEXIST: return "the Trash has no free name for it";
        case EIO: return "the disk could not be read or written";
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
