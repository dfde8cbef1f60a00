// One Trash folder with the desktop's layout: "files" holds the items, "info" holds a note for each
// item with its original path.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/posix/atomic_file.h"
#include "platform/posix/descriptor.h"

namespace vestigo {

/// A name in a Trash that an item's note has taken. The note stays locked while this lives, so a
/// note that has neither an item nor a lock was left by a killed program.
struct TrashReservation {
    std::string name;
    unsigned attempt = 0;  ///< The attempt that gave the name, from 1 on.
    std::unique_ptr<AtomicFile> note;
};

/// Thread-safe, also against other programs that use the same folder.
class TrashFolder {
public:
    /// Opens the user's main Trash; creates it and its parents when missing. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openHome(const std::string& path);
    /// Opens the Trash of this name in an open folder; creates it when missing. It must be a real
    /// folder of this user. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openIn(int folder, const std::string& name);
    /// Opens the same folder a second time. Absent with errno.
    [[nodiscard]] std::optional<TrashFolder> again() const;

    /// Takes a free name, the item's own if possible, from an attempt later than `after`, and
    /// writes a note with the item's origin to the disk. `origin` is absolute, or relative to the
    /// top of the Trash's file system. Absent with errno.
    [[nodiscard]] std::optional<TrashReservation> reserve(const std::string& itemName,
                                                          const std::string& origin,
                                                          unsigned after = 0) const;
    /// Moves an entry of an open folder to a reserved name. It replaces nothing, follows no link
    /// and copies nothing. Returns 0 or the error.
    [[nodiscard]] int moveIn(int folder, const std::string& name,
                             const TrashReservation& reservation) const;
    /// Gives back a name that no item has come to.
    void release(const TrashReservation& reservation) const;

    /// Removes what killed programs of this user have left: notes without an item, and names that a
    /// script had taken. Whatever a running program holds stays, and so does everything that is not
    /// this program's.
    void clearLeftovers() const;

    /// Descriptors of the folder and its two parts.
    [[nodiscard]] int folder() const { return folder_.get(); }
    [[nodiscard]] int files() const { return files_.get(); }
    [[nodiscard]] int info() const { return info_.get(); }

private:
    [[nodiscard]] static std::optional<TrashFolder> layOut(Descriptor folder);
    void removeIfStale(const std::string& noteName) const;

    Descriptor folder_;
    Descriptor files_;
    Descriptor info_;
};

/// Identifies a mounted file system. A rename is possible only within one of these.
struct Mount {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t id = 0;
    bool operator==(const Mount&) const = default;
};

/// The mount of a path below an open folder, or of the folder itself when the path is empty. Links
/// are followed. Absent with errno.
[[nodiscard]] std::optional<Mount> mountOf(int folder, const std::string& path);

/// The content of a note for an item from this place. Its last line marks it as this program's.
[[nodiscard]] std::string trashNote(const std::string& origin);

/// The ending of a note's file name; the item's name stands before it.
inline constexpr char trashNoteEnding[] = ".trashinfo";

/// The limit for an item's name in bytes: with the ending, its note's name must fit as well.
inline constexpr std::size_t longestTrashName = 255 - (sizeof trashNoteEnding - 1);

/// Opens a real folder of this user inside an open one; creates it, for the user only, when
/// missing. Owns nothing, with errno, where something else has the name.
[[nodiscard]] Descriptor openOwnFolder(int folder, const std::string& name);

}  // namespace vestigo
