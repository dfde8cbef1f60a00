// The order of the steps is what makes this safe. A name is recorded in the journal before it is
// taken in the Trash, and its record is removed only after the item has come to it or the name was
// given back. So at any interruption every taken name has a record, and clearing can find it.
//
// Clearing must never remove an item. An entry of the Trash is a placeholder only if it is the very
// file that the record links to, or an empty folder without permissions, which rmdir cannot remove
// once anything is in it.
#include "platform/linux/cleanup_journal.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

constexpr const char* parts[] = {"notes", "info", "files"};
constexpr std::size_t endingLength = sizeof trashNoteEnding - 1;

std::optional<struct stat> statusOf(int folder, const std::string& name) {
    struct stat status {};
    const auto look = [&] { return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW); };
    return retrying(look) == 0 ? std::optional(status) : std::nullopt;
}

bool isSame(const std::optional<struct stat>& one, const std::optional<struct stat>& other) {
    return one && other && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

void removeFile(int folder, const std::string& name) {
    static_cast<void>(retrying([&] { return ::unlinkat(folder, name.c_str(), 0); }));
}

/// Removes the folder only if it is empty.
void removeFolder(int folder, const std::string& name) {
    static_cast<void>(retrying([&] { return ::unlinkat(folder, name.c_str(), AT_REMOVEDIR); }));
}

Descriptor openFolder(int folder, const std::string& name) {
    return Descriptor(retrying([&] {
        return ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
}

std::vector<std::string> namesInOrNone(const Descriptor& folder) {
    return folder ? namesIn(folder.get()).value_or(std::vector<std::string>())
                  : std::vector<std::string>();
}

bool lock(int folder, int kind) {
    return retrying([&] { return ::flock(folder, kind | LOCK_NB); }) == 0;
}

/// Removes the placeholders that no item has replaced.
void clearFiles(const TrashFolder& trash, int journal) {
    const auto files = openFolder(journal, "files");
    for (const auto& name : namesInOrNone(files)) {
        const auto own = statusOf(files.get(), name);
        const auto there = statusOf(trash.files(), name);
        const bool isBareFolder = there && S_ISDIR(there->st_mode) && (there->st_mode & 0777) == 0;
        if (isBareFolder) removeFolder(trash.files(), name);
        if (isSame(own, there)) removeFile(trash.files(), name);
        removeFile(files.get(), name);
    }
}

/// Removes the notes of items that have not arrived.
void clearNotes(const TrashFolder& trash, int journal) {
    const auto info = openFolder(journal, "info");
    for (const auto& note : namesInOrNone(info)) {
        const auto item = note.substr(0, note.size() - std::min(note.size(), endingLength));
        const bool isMissing = !statusOf(trash.files(), item) && errno == ENOENT;
        if (isMissing && isSame(statusOf(info.get(), note), statusOf(trash.info(), note))) {
            removeFile(trash.info(), note);
        }
        removeFile(info.get(), note);
    }
}

void clear(const TrashFolder& trash, int journal, const std::string& name) {
    clearFiles(trash, journal);
    clearNotes(trash, journal);
    const auto notes = openFolder(journal, "notes");
    for (const auto& note : namesInOrNone(notes)) removeFile(notes.get(), note);
    for (const auto* part : parts) removeFolder(journal, part);
    removeFolder(trash.folder(), name);
}

bool makeFile(int folder, const std::string& name, mode_t mode) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return static_cast<bool>(
        Descriptor(retrying([&] { return ::openat(folder, name.c_str(), flags, mode); })));
}

bool isOwn(int folder) {
    struct stat status {};
    return retrying([&] { return ::fstat(folder, &status); }) == 0 && status.st_uid == ::geteuid();
}

}  // namespace

std::unique_ptr<CleanupJournal> CleanupJournal::make(TrashFolder trash,
                                                     const std::vector<std::string>& origins) {
    std::unique_ptr<CleanupJournal> journal(new CleanupJournal(std::move(trash)));
    if (journal->create(origins)) return journal;
    const int error = errno;
    journal.reset();
    errno = error;
    return nullptr;
}

bool CleanupJournal::create(const std::vector<std::string>& origins) {
    auto name = unguessableName();
    if (name.empty()) return false;
    folder_ = openOwnFolder(trash_.folder(), name);
    if (!folder_) return false;
    name_ = std::move(name);
    if (!lock(folder_.get(), LOCK_SH)) return false;
    for (const auto* part : parts) {
        if (!openOwnFolder(folder_.get(), part)) return false;
    }
    const auto notes = openFolder(folder_.get(), "notes");
    for (std::size_t i = 0; notes && i < origins.size(); ++i) {
        AtomicFile note(notes.get(), 0600);
        if (!note.write(trashNote(origins[i])) || !flushToDisk(note.descriptor()) ||
            !note.placeIfFree(notes.get(), std::to_string(i + 1))) {
            return false;
        }
    }
    return static_cast<bool>(notes);
}

CleanupJournal::~CleanupJournal() {
    // The script may outlive the program that waited for it. Then the lock is not available here,
    // and the next start of the program clears up.
    if (folder_ && lock(folder_.get(), LOCK_EX)) clear(trash_, folder_.get(), name_);
}

bool CleanupJournal::reserveName(const std::string& name, EntryKind kind) const {
    const auto files = openFolder(folder_.get(), "files");
    if (!files || !makeFile(files.get(), name, 0600)) return false;
    if (kind == EntryKind::folder) {
        return retrying([&] { return ::mkdirat(trash_.files(), name.c_str(), 0); }) == 0;
    }
    const auto link = [&] {
        return ::linkat(files.get(), name.c_str(), trash_.files(), name.c_str(), 0);
    };
    if (retrying(link) == 0) return true;
    // Without hard links, clearing cannot tell this placeholder from an item, and leaves it if the
    // program is killed now.
    return (errno == EPERM || errno == ENOTSUP) && makeFile(trash_.files(), name, 0600);
}

void CleanupJournal::forget(const std::string& name) const {
    if (const auto files = openFolder(folder_.get(), "files")) removeFile(files.get(), name);
}

int moveOverPlaceholder(const TrashFolder& trash, int folder, const std::string& name,
                        const std::string& taken) {
    const auto item = itemIdentity(folder, name);
    auto again = item ? trash.again() : std::nullopt;
    const auto journal = again ? CleanupJournal::make(std::move(*again), {}) : nullptr;
    if (!journal || !journal->reserveName(taken, item->kind)) return errno;
    const auto move = [&] {
        return ::renameat(folder, name.c_str(), trash.files(), taken.c_str());
    };
    const int error = retrying(move) == 0 ? 0 : errno;
    if (error == 0) journal->forget(taken);
    // Another program has put something into the placeholder.
    return error == ENOTEMPTY ? EEXIST : error;
}

bool clearCleanupJournals(const TrashFolder& trash) {
    bool isHeld = false;
    const auto names = namesIn(trash.folder());
    if (!names) return false;
    for (const auto& name : *names) {
        if (!isUnguessableName(name)) continue;
        const auto journal = openFolder(trash.folder(), name);
        if (!journal || !isOwn(journal.get())) continue;
        if (lock(journal.get(), LOCK_EX)) {
            clear(trash, journal.get(), name);
        } else {
            isHeld = true;
        }
    }
    return !isHeld;
}

}  // namespace vestigo
