// Files that get their name only once they are complete.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/posix/descriptor.h"

namespace vestigo {

/// A new file in an open folder. Until it is placed, its name is temporary: ".vestigo-" and 32
/// hexadecimal digits. It is locked by flock(2) while this object lives, so a file of that form
/// without a lock was left by a killed program. A file that was not placed is removed on
/// destruction.
class AtomicFile {
public:
    /// The folder must stay open while this object lives.
    AtomicFile(int folder, mode_t mode);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Whether the file could be made.
    explicit operator bool() const { return static_cast<bool>(file_); }
    /// The open file; negative when it could not be made.
    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// False with errno.
    [[nodiscard]] bool write(std::string_view content);
    /// Flushes the content to the disk, then replaces the entry of this name in its folder with the
    /// file. False with errno.
    [[nodiscard]] bool replace(const std::string& name);
    /// Gives the file this name in an open folder, its own or another one of its file system. Never
    /// replaces anything, and leaves the flushing to the caller. False with errno: EEXIST where the
    /// name is taken.
    [[nodiscard]] bool placeIfFree(int folder, const std::string& name);

private:
    void create(mode_t mode);
    [[nodiscard]] bool renamedTo(int folder, const std::string& name) const;
    [[nodiscard]] bool linkedAs(int folder, const std::string& name) const;
    [[nodiscard]] bool renamedIfFree(int folder, const std::string& name) const;

    int folder_;
    std::string temporary_;
    Descriptor file_;
    bool placed_ = false;
};

/// A name of ".vestigo-" and 32 hexadecimal digits that nobody can predict. Empty, with errno, when
/// the system has no random bytes.
[[nodiscard]] std::string unguessableName();

/// Whether a name has exactly that form.
[[nodiscard]] bool isUnguessableName(std::string_view name);

/// Whether this name in the open folder still refers to the open file.
[[nodiscard]] bool isOpenAs(int file, int folder, const std::string& name);

/// Removes the files that killed programs of this user have left in an open folder: regular files
/// of this user with exactly such a name that no running program has locked. Ignores failures.
void removeOrphans(int folder);

}  // namespace vestigo
