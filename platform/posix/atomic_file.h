// Files that appear under their name only once they are whole.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/posix/descriptor.h"

namespace vestigo {

/// A new file in an open folder, under a temporary name until it is placed: ".vestigo-" and 32
/// hexadecimal digits. It is locked by flock(2) as long as this lives, so one that nobody has
/// locked belongs to a program that was killed. A file that was not placed is removed with this.
class AtomicFile {
public:
    /// The folder has to stay open as long as this lives.
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
    /// Puts the file in the place of what has this name in its folder, once its content is on the
    /// disk. False with errno.
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

/// ".vestigo-" and 32 hexadecimal digits that nobody can foresee. Empty, with errno, when the
/// system gives no random bytes.
[[nodiscard]] std::string unguessableName();

/// Whether a name has exactly the form of those.
[[nodiscard]] bool isUnguessableName(std::string_view name);

/// Whether the open file has this name in an open folder.
[[nodiscard]] bool isOpenAs(int file, int folder, const std::string& name);

/// Removes from an open folder the files that killed programs of this user have not placed: regular
/// files of this user with exactly such a name that no live program has locked. Failures are
/// ignored.
void removeOrphans(int folder);

}  // namespace vestigo
