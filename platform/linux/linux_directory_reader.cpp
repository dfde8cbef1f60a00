#include "platform/linux/linux_directory_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

#include "platform/clock.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/retrying.h"

namespace vestigo {
namespace {

// The kernel's own trees: no programs in them, endless or blocking files, size 0 for everything.
// Magic numbers that <linux/magic.h> of older systems lacks are given by value.
constexpr std::int64_t pseudoFileSystems[] = {
    PROC_SUPER_MAGIC,
    SYSFS_MAGIC,
    CGROUP_SUPER_MAGIC,
    CGROUP2_SUPER_MAGIC,
    DEVPTS_SUPER_MAGIC,
    DEBUGFS_MAGIC,
    TRACEFS_MAGIC,
    SECURITYFS_MAGIC,
    SELINUX_MAGIC,
    PSTOREFS_MAGIC,
    EFIVARFS_MAGIC,
    BPF_FS_MAGIC,
    BINFMTFS_MAGIC,
    NSFS_MAGIC,
    BINDERFS_SUPER_MAGIC,
    0x62656570 /*configfs*/,
    0x65735543 /*fusectl*/,
    0x19800202 /*mqueue*/,
    0x67596969 /*rpc_pipefs*/,
    0x6e667364 /*nfsd*/,
};

bool isPseudoFileSystem(int folder) {
    // Asking for the type is slow where the system adds up its counters to answer, and most folders
    // lie on the same device as the one before.
    thread_local std::optional<dev_t> latestReal;
    struct stat status {};
    if (fstat(folder, &status) != 0 || status.st_dev == latestReal) return false;
    struct statfs info {};
    if (fstatfs(folder, &info) != 0) return false;
    const bool pseudo =
        std::ranges::find(pseudoFileSystems, static_cast<std::int64_t>(info.f_type)) !=
        std::end(pseudoFileSystems);
    if (!pseudo) latestReal = status.st_dev;
    return pseudo;
}

// Images are often made without times; nothing on a real disk dates from that very second.
double since2001(const statx_timestamp& time) {
    if (time.tv_sec == 0 && time.tv_nsec == 0) return 0;
    return static_cast<double>(time.tv_sec) - secondsFrom1970To2001 + time.tv_nsec * 1e-9;
}

std::int64_t nanoseconds(const statx_timestamp& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

std::optional<FileAttributes> attributesOf(int folder, const char* name, int flags) {
    constexpr unsigned wanted =
        STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME | STATX_CTIME | STATX_INO;
    struct statx info {};
    const int lookUp = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    if (statx(folder, name, flags | lookUp, wanted, &info) != 0) return std::nullopt;
    if (!S_ISREG(info.stx_mode)) return std::nullopt;
    const auto known = [&info](unsigned field) { return (info.stx_mask & field) != 0; };
    FileAttributes attributes;
    if (known(STATX_SIZE)) attributes.size = static_cast<std::int64_t>(info.stx_size);
    if (known(STATX_MTIME)) {
        attributes.mtime = since2001(info.stx_mtime);
        attributes.modified = nanoseconds(info.stx_mtime);
    }
    if (known(STATX_CTIME)) attributes.changed = nanoseconds(info.stx_ctime);
    if (known(STATX_INO)) attributes.inode = info.stx_ino;
    if (known(STATX_BTIME)) attributes.ctime = since2001(info.stx_btime);
    return attributes;
}

// Some file systems do not say the kind in the listing.
EntryKind kindByLook(int folder, const char* name) {
    struct statx info {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(folder, name, flags, STATX_TYPE, &info) != 0) return EntryKind::unknown;
    return kindByMode(info.stx_mode);
}

/// The kernel's record of one entry, as getdents64(2) describes it.
class DirectoryRecord {
public:
    explicit DirectoryRecord(const char* bytes) : bytes_(bytes) {}

    [[nodiscard]] std::size_t length() const {
        std::uint16_t value = 0;
        std::memcpy(&value, bytes_ + lengthOffset, sizeof value);
        return value;
    }
    [[nodiscard]] const char* name() const { return bytes_ + nameOffset; }
    [[nodiscard]] EntryKind kind(int folder) const {
        // A type is the file-type bits of a mode, moved down (DTTOIF).
        const auto type = static_cast<unsigned char>(bytes_[typeOffset]);
        return type == DT_UNKNOWN ? kindByLook(folder, name())
                                  : kindByMode(static_cast<unsigned>(type) << 12U);
    }

private:
    static constexpr std::size_t lengthOffset = offsetof(dirent64, d_reclen);
    static constexpr std::size_t typeOffset = offsetof(dirent64, d_type);
    static constexpr std::size_t nameOffset = offsetof(dirent64, d_name);
    const char* bytes_;
};

class LinuxHeaderFile : public HeaderFile {
public:
    explicit LinuxHeaderFile(Descriptor file) : file_(std::move(file)) {}

    std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
        return vestigo::readStart(file_.get(), buffer);
    }

    std::optional<FileAttributes> attributes() override {
        return attributesOf(file_.get(), "", AT_EMPTY_PATH);
    }

private:
    Descriptor file_;
};

constexpr int listingFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;
constexpr int throughFlags = O_PATH | O_DIRECTORY;

/// Null where there is no folder.
std::unique_ptr<Folder> readable(Descriptor folder);

class LinuxFolder : public Folder {
public:
    explicit LinuxFolder(Descriptor folder) : folder_(std::move(folder)) {}

    bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
        std::array<char, 32768> records;
        for (;;) {
            const auto filled = retrying([&] {
                return syscall(SYS_getdents64, folder_.get(), records.data(), records.size());
            });
            if (filled <= 0) return filled == 0;
            for (std::size_t at = 0; at < static_cast<std::size_t>(filled);) {
                const DirectoryRecord record(records.data() + at);
                if (!visit(record, visitor)) return true;
                at += record.length();
            }
        }
    }

    std::optional<FileAttributes> attributes(const char* name) override {
        return attributesOf(folder_.get(), name, 0);
    }

    std::unique_ptr<HeaderFile> openFile(const char* name) override {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        auto file = openPatiently(folder_.get(), name, flags);
        if (!file) return nullptr;
        // Only the start is read; the kernel would fetch what follows it as well.
        ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_RANDOM);
        return std::make_unique<LinuxHeaderFile>(std::move(file));
    }

    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        return readable(openFolderBelow(folder_.get(), path, listingFlags, throughFlags));
    }

private:
    bool visit(const DirectoryRecord& record,
               const std::function<bool(const FolderEntry&)>& visitor) const {
        const std::string_view name = record.name();
        if (name == "." || name == "..") return true;
        const bool hidden = name.starts_with('.');
        return visitor({.name = name,
                        .kind = hidden ? EntryKind::other : record.kind(folder_.get()),
                        .hidden = hidden,
                        .attributes = {}});
    }

    Descriptor folder_;
};

std::unique_ptr<Folder> readable(Descriptor folder) {
    if (!folder) return nullptr;
    if (isPseudoFileSystem(folder.get())) return emptyFolder();
    return std::make_unique<LinuxFolder>(std::move(folder));
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    LinuxFolder own(Descriptor(::open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    const bool whole = own.list([&count](const FolderEntry&) { return ++count, true; });
    return whole ? count : 0;
}

}  // namespace

std::unique_ptr<Folder> LinuxDirectoryReader::open(const std::string& path) {
    return readable(openFolderPatiently(path, listingFlags, throughFlags));
}

unsigned LinuxDirectoryReader::maxOpenFolders() const {
    return maxOpenFoldersBeside(openDescriptors());
}

}  // namespace vestigo
