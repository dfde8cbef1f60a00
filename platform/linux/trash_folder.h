// One Trash folder, laid out by the desktop's rules: "files" holds the items, "info" a note for
// each of them that tells where it came from.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/posix/atomic_file.h"
#include "platform/posix/descriptor.h"

namespace vestigo {

/// A name in a Trash that is taken by the item's note. The note is locked as long as this lives, so
/// that a note without an item and without a lock is known to be left from a killed program.
struct TrashReservation {
    std::string name;
    unsigned attempt = 0;  ///< The one that gave the name, from 1 on.
    std::unique_ptr<AtomicFile> note;
};

/// Thread-safe, also against other programs that use the same folder.
class TrashFolder {
public:
    /// The user's main one; made with its parents when missing. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openHome(const std::string& path);
    /// One with this name in an open folder; made when missing. It must be a real folder of this
    /// user. Absent with errno.
    [[nodiscard]] static std::optional<TrashFolder> openIn(int folder, const std::string& name);
    /// The same folder, opened anew. Absent with errno.
    [[nodiscard]] std::optional<TrashFolder> again() const;

    /// Takes a free name, the item's own if possible and one of a later attempt than `after` in any
    /// case, and writes to the disk where the item comes from: a path that is absolute, or relative
    /// to the top of the Trash's file system. Absent with errno.
    [[nodiscard]] std::optional<TrashReservation> reserve(const std::string& itemName,
                                                          const std::string& origin,
                                                          unsigned after = 0) const;
    /// Moves an entry of an open folder to a reserved name. Nothing is replaced, no link is
    /// followed, nothing is copied. 0 or the error.
    [[nodiscard]] int moveIn(int folder, const std::string& name,
                             const TrashReservation& reservation) const;
    /// Gives back a name that no item has come to.
    void release(const TrashReservation& reservation) const;

    /// Removes what killed programs of this user have left: notes without an item, and what a
    /// script had reserved. What a live program holds stays, and so does whatever is not ours.
    void clearLeftovers() const;

    /// Open: the folder itself and its two parts.
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

/// Where a rename stays within: one file system, as it is mounted in one place.
struct Mount {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint64_t id = 0;
    bool operator==(const Mount&) const = default;
};

/// Of a path below an open folder, or of the folder itself when it is empty. Links are followed.
/// Absent with errno.
[[nodiscard]] std::optional<Mount> mountOf(int folder, const std::string& path);

/// What a note says of an item from this place. It ends with a line that only our notes have.
[[nodiscard]] std::string trashNote(const std::string& origin);

/// A note's file name: the item's with this at its end.
inline constexpr char trashNoteEnding[] = ".trashinfo";

/// No item's name may have more bytes, or its note's name were too long.
inline constexpr std::size_t longestTrashName = 255 - (sizeof trashNoteEnding - 1);

/// A real folder of this user in an open one, made when missing, readable by the user only. Owns
/// nothing, with errno, where something else has the name.
[[nodiscard]] Descriptor openOwnFolder(int folder, const std::string& name);

}  // namespace vestigo
