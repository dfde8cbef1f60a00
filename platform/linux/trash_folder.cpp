// An item gets its name in the Trash in three steps: its note is placed in "info" under the new
// name, the note is flushed to the disk, the item is renamed into "files". Placing the note takes
// the name: it succeeds for one program only, also against other programs that follow the desktop's
// rules. At any interruption the item is in its place with a leftover note, or in the Trash with
// its note.
//
// A leftover note is recognised by three signs: it ends with this program's mark, its item is
// missing, and nobody holds its lock (flock). The lock is taken before the last look at the item,
// since the item may arrive at any moment while the lock is held by its owner.
#include "platform/linux/trash_folder.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/folder_cleanup_trash.h"
#include "platform/linux/cleanup_journal.h"
#include "platform/paths.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr unsigned mostAttempts = 100'000;
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
/// Marks a note as this program's; other programs ignore lines that they do not know.
constexpr std::string_view ownMark = "X-Vestigo-Moved=true\n";
constexpr std::size_t longestNote = 32'768;

/// Encodes a path like a URL, byte by byte, whatever the bytes stand for.
std::string percentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string text;
    for (const char letter : path) {
        if (plain.find(letter) != plain.npos) {
            text += letter;
            continue;
        }
        const auto byte = static_cast<unsigned char>(letter);
        ((text += '%') += digits[byte >> 4U]) += digits[byte & 0xFU];
    }
    return text;
}

std::string localTime() {
    const auto now = std::time(nullptr);
    std::tm local{};
    std::array<char, 32> text{};
    if (!::localtime_r(&now, &local)) return "1970-01-01T00:00:00";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local)};
}

/// Whether the folder has an entry of this name. Absent, with errno, when that cannot be
/// determined.
std::optional<bool> holds(int folder, const std::string& name) {
    struct stat status {};
    if (retrying([&] { return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW); }) ==
        0) {
        return true;
    }
    return errno == ENOENT ? std::optional(false) : std::nullopt;
}

bool isOwnNote(int file) {
    struct stat status {};
    if (retrying([&] { return ::fstat(file, &status); }) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid()) {
        return false;
    }
    std::array<char, longestNote> text{};
    const auto length = retrying([&] { return ::pread(file, text.data(), text.size(), 0); });
    return length > 0 &&
           std::string_view(text.data(), static_cast<std::size_t>(length)).ends_with(ownMark);
}

}  // namespace

std::optional<Mount> mountOf(int folder, const std::string& path) {
    constexpr int look = AT_EMPTY_PATH | AT_NO_AUTOMOUNT;
    constexpr unsigned wanted = STATX_TYPE | STATX_MNT_ID;
    struct statx status {};
    if (retrying([&] { return ::statx(folder, path.c_str(), look, wanted, &status); }) != 0) {
        return std::nullopt;
    }
    return Mount{status.stx_dev_major, status.stx_dev_minor, status.stx_mnt_id};
}

std::string trashNote(const std::string& origin) {
    return "[Trash Info]\nPath=" + percentEncoded(origin) + "\nDeletionDate=" + localTime() + "\n" +
           std::string(ownMark);
}

Descriptor openOwnFolder(int folder, const std::string& name) {
    if (retrying([&] { return ::mkdirat(folder, name.c_str(), 0700); }) != 0 && errno != EEXIST) {
        return {};
    }
    Descriptor own(
        retrying([&] { return ::openat(folder, name.c_str(), folderFlags | O_NOFOLLOW); }));
    struct stat status {};
    if (own && retrying([&] { return ::fstat(own.get(), &status); }) != 0) return {};
    if (own && status.st_uid == ::geteuid()) return own;
    if (own) errno = EACCES;
    return {};
}

std::optional<TrashFolder> TrashFolder::openHome(const std::string& path) {
    static_cast<void>(PosixFiles().createFolders(std::string(folderOf(path))));
    if (retrying([&] { return ::mkdir(path.c_str(), 0700); }) != 0 && errno != EEXIST) {
        return std::nullopt;
    }
    return layOut(Descriptor(retrying([&] { return ::open(path.c_str(), folderFlags); })));
}

std::optional<TrashFolder> TrashFolder::openIn(int folder, const std::string& name) {
    return layOut(openOwnFolder(folder, name));
}

std::optional<TrashFolder> TrashFolder::again() const {
    return layOut(Descriptor(::fcntl(folder_.get(), F_DUPFD_CLOEXEC, 0)));
}

std::optional<TrashFolder> TrashFolder::layOut(Descriptor folder) {
    if (!folder) return std::nullopt;
    TrashFolder trash;
    trash.files_ = openOwnFolder(folder.get(), "files");
    if (!trash.files_) return std::nullopt;
    trash.info_ = openOwnFolder(folder.get(), "info");
    if (!trash.info_) return std::nullopt;
    trash.folder_ = std::move(folder);
    return trash;
}

std::optional<TrashReservation> TrashFolder::reserve(const std::string& itemName,
                                                     const std::string& origin,
                                                     unsigned after) const {
    auto note = std::make_unique<AtomicFile>(folder_.get(), 0600);
    if (!note->write(trashNote(origin))) return std::nullopt;
    for (unsigned attempt = after + 1; attempt <= mostAttempts; ++attempt) {
        auto name = trashName(itemName, attempt, longestTrashName);
        const auto held = holds(files_.get(), name);
        if (!held) return std::nullopt;
        if (*held) continue;
        if (!note->placeIfFree(info_.get(), name + trashNoteEnding)) {
            if (errno == EEXIST) continue;
            return std::nullopt;
        }
        TrashReservation reservation{std::move(name), attempt, std::move(note)};
        // Flushed after it has its name, so that one wait for the disk covers both.
        if (flushToDisk(reservation.note->descriptor())) return reservation;
        const int error = errno;
        release(reservation);
        errno = error;
        return std::nullopt;
    }
    errno = EEXIST;
    return std::nullopt;
}

int TrashFolder::moveIn(int folder, const std::string& name,
                        const TrashReservation& reservation) const {
    const auto& taken = reservation.name;
    if (renameIfFree(folder, name, files_.get(), taken)) return 0;
    return errno == ENOTSUP ? moveOverPlaceholder(*this, folder, name, taken) : errno;
}

void TrashFolder::release(const TrashReservation& reservation) const {
    const auto note = reservation.name + trashNoteEnding;
    static_cast<void>(retrying([&] { return ::unlinkat(info_.get(), note.c_str(), 0); }));
}

void TrashFolder::clearLeftovers() const {
    removeOrphans(folder_.get());
    // A note that a running script has placed is not locked; the lock on the script's journal
    // stands for it.
    if (!clearCleanupJournals(*this)) return;
    const auto notes = namesIn(info_.get());
    const auto items = namesIn(files_.get());
    if (!notes || !items) return;
    const std::unordered_set<std::string_view> present(items->begin(), items->end());
    for (const auto& note : *notes) {
        if (!note.ends_with(trashNoteEnding)) continue;
        const std::string_view item(note.data(), note.size() + 1 - sizeof trashNoteEnding);
        if (!present.contains(item)) removeIfStale(note);
    }
}

void TrashFolder::removeIfStale(const std::string& noteName) const {
    // Locks on network file systems need write access.
    const Descriptor note(retrying([&] {
        return ::openat(info_.get(), noteName.c_str(),
                        O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!note || !isOwnNote(note.get())) return;
    if (retrying([&] { return ::flock(note.get(), LOCK_EX | LOCK_NB); }) != 0) return;
    // Its item may have arrived just before the lock became free.
    const auto item = noteName.substr(0, noteName.size() + 1 - sizeof trashNoteEnding);
    if (holds(files_.get(), item) != std::optional(false)) return;
    if (isOpenAs(note.get(), info_.get(), noteName)) {
        static_cast<void>(retrying([&] { return ::unlinkat(info_.get(), noteName.c_str(), 0); }));
    }
}

}  // namespace vestigo
