// A scan opens millions of files, so this reader saves system calls: it calls getdents64 directly
// with a large buffer, asks for attributes only when the scan wants them, and asks about a folder's
// file system only when it may have changed. openat2(2) with RESOLVE_NO_XDEV opens a folder and
// proves in the same call that it lies on the mount of its parent, as nearly all do. Only when that
// fails is the new mount looked up. If one folder is on another mount, its neighbours usually are
// too, so the quick call is then skipped until a folder is found on its parent's mount again.
#include "platform/linux/linux_directory_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>

#include "platform/clock.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/file_systems.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

// Pseudo file systems of the kernel. They hold no programs, but files that are endless or block,
// all with size 0. Magic numbers that <linux/magic.h> of older systems lacks are given by value.
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

// File systems whose kernel code updates the change time with every change. FUSE and network
// servers may answer anything, and FAT has no change time.
constexpr std::int64_t fileSystemsWithChangeTimes[] = {
    EXT4_SUPER_MAGIC, /* ext2 and ext3 too */
    XFS_SUPER_MAGIC,       BTRFS_SUPER_MAGIC,       F2FS_SUPER_MAGIC,
    OVERLAYFS_SUPER_MAGIC, 0xca451a4e /*bcachefs*/, 0x2fc12fc1 /*zfs*/,
};

/// The mount's number; 0 where the system does not report it.
std::uint64_t mountOf(int folder) {
    struct statx info {};
    if (statx(folder, "", AT_EMPTY_PATH, STATX_MNT_ID, &info) != 0) return 0;
    return (info.stx_mask & STATX_MNT_ID) != 0 ? info.stx_mnt_id : 0;
}

FileSystem fileSystemOf(int folder, std::uint64_t mount) {
    struct statfs info {};
    if (fstatfs(folder, &info) != 0) return {.mount = mount};
    const auto isOneOf = [&info](const auto& types) {
        return std::ranges::find(types, static_cast<std::int64_t>(info.f_type)) != std::end(types);
    };
    static_assert(sizeof info.f_fsid == sizeof(std::uint64_t));
    FileSystem found{.mount = mount,
                     .isPseudo = isOneOf(pseudoFileSystems),
                     .keepsChangeTimes = isOneOf(fileSystemsWithChangeTimes)};
    std::memcpy(&found.identity, &info.f_fsid, sizeof found.identity);
    return found;
}

double since2001(const statx_timestamp& time) {
    return static_cast<double>(time.tv_sec) - secondsFrom1970To2001 + time.tv_nsec * 1e-9;
}

std::int64_t nanoseconds(const statx_timestamp& time) {
    return nanosecondsSince1970(time.tv_sec, time.tv_nsec);
}

/// `fileSystem` is that of the folder, or of the file itself when `folder` is the open file.
std::optional<FileAttributes> attributesOf(int folder, const char* name, int flags,
                                           const FileSystem& fileSystem) {
    constexpr unsigned wanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME | STATX_CTIME |
                                STATX_INO | STATX_MNT_ID;
    struct statx info {};
    const int lookUp = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(folder, name, flags | lookUp, wanted, &info) != 0) return std::nullopt;
    if (!S_ISREG(info.stx_mode)) return std::nullopt;
    const auto known = [&info](unsigned field) { return (info.stx_mask & field) != 0; };
    FileAttributes attributes;
    if (known(STATX_SIZE)) attributes.size = static_cast<std::int64_t>(info.stx_size);
    if (known(STATX_MTIME)) {
        attributes.mtime = since2001(info.stx_mtime);
        attributes.modified = nanoseconds(info.stx_mtime);
    }
    if (known(STATX_INO)) attributes.inode = info.stx_ino;
    // A single file may be a mount of its own.
    const bool isOnThatMount = known(STATX_MNT_ID) && info.stx_mnt_id == fileSystem.mount;
    if (isOnThatMount && fileSystem.keepsChangeTimes && known(STATX_CTIME)) {
        attributes.changed = nanoseconds(info.stx_ctime);
        attributes.fileSystem = fileSystem.identity;
    }
    if (known(STATX_BTIME)) attributes.ctime = since2001(info.stx_btime);
    return attributes;
}

// Some file systems do not report the kind in the listing.
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

/// Whether this thread's recent reads came from the disk and not from the page cache. Asks once in
/// 32 files, since each question is a system call.
bool readsFromDisk() {
    constexpr unsigned filesPerLook = 32;
    thread_local unsigned files = 0;
    thread_local long blocksRead = -1;
    thread_local bool reads = true;
    if (files++ % filesPerLook != 0) return reads;
    struct rusage usage {};
    reads = ::getrusage(RUSAGE_THREAD, &usage) != 0 || usage.ru_inblock != blocksRead;
    blocksRead = usage.ru_inblock;
    return reads;
}

class LinuxHeaderFile : public HeaderFile {
public:
    LinuxHeaderFile(Descriptor file, const FileSystem& fileSystem)
        : file_(std::move(file)), fileSystem_(fileSystem) {}

    std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
        return vestigo::readStart(file_.get(), buffer);
    }

    std::optional<FileAttributes> attributes() override {
        return attributesOf(file_.get(), "", AT_EMPTY_PATH, fileSystem_);
    }

private:
    Descriptor file_;
    FileSystem fileSystem_;
};

constexpr int listingFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;
constexpr int throughFlags = O_PATH | O_DIRECTORY;

/// Owns nothing on failure. Fails too when another file system is mounted on the way, or when the
/// kernel lacks the call.
Descriptor openOnSameMount(int folder, const std::string& path) {
    struct open_how how {};
    how.flags = listingFlags | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
    return Descriptor(
        static_cast<int>(syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how)));
}

class LinuxFolder : public Folder {
public:
    LinuxFolder(Descriptor folder, const FileSystem& fileSystem,
                std::shared_ptr<FileSystemsBelowRoot> fileSystems)
        : folder_(std::move(folder)),
          fileSystem_(fileSystem),
          fileSystems_(std::move(fileSystems)) {}

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
        return attributesOf(folder_.get(), name, 0, fileSystem_);
    }

    std::unique_ptr<HeaderFile> openFile(const char* name) override {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        auto file = openPatiently(folder_.get(), name, flags);
        if (!file) return nullptr;
        // Only the start is read. Without this hint the kernel would read ahead.
        if (readsFromDisk()) ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_RANDOM);
        return std::make_unique<LinuxHeaderFile>(std::move(file), fileSystem_);
    }

    // Tries the quick call first; see the top of the file.
    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        if (!fileSystems_->latestWasElsewhere.load(std::memory_order_relaxed)) {
            if (auto folder = openOnSameMount(folder_.get(), std::string(path))) {
                return std::make_unique<LinuxFolder>(std::move(folder), fileSystem_, fileSystems_);
            }
        }
        auto folder = openFolderBelow(folder_.get(), path, listingFlags, throughFlags);
        if (!folder) return nullptr;
        const auto mount = mountOf(folder.get());
        const auto ask = [&] { return fileSystemOf(folder.get(), mount); };
        const auto fileSystem = mount ? fileSystems_->of(mount, ask) : ask();
        const bool elsewhere = mount != fileSystem_.mount || mount == 0;
        fileSystems_->latestWasElsewhere.store(elsewhere, std::memory_order_relaxed);
        if (fileSystem.isPseudo) return emptyFolder();
        return std::make_unique<LinuxFolder>(std::move(folder), fileSystem, fileSystems_);
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
    FileSystem fileSystem_;
    std::shared_ptr<FileSystemsBelowRoot> fileSystems_;
};

/// Null when no folder was opened.
std::unique_ptr<Folder> rootFolder(Descriptor folder) {
    if (!folder) return nullptr;
    const auto fileSystem = fileSystemOf(folder.get(), mountOf(folder.get()));
    if (fileSystem.isPseudo) return emptyFolder();
    return std::make_unique<LinuxFolder>(std::move(folder), fileSystem,
                                         std::make_shared<FileSystemsBelowRoot>(fileSystem));
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    LinuxFolder own(Descriptor(::open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC)), {},
                    nullptr);
    const bool whole = own.list([&count](const FolderEntry&) { return ++count, true; });
    return whole ? count : 0;
}

}  // namespace

std::unique_ptr<Folder> LinuxDirectoryReader::open(const std::string& path) {
    return rootFolder(openPathPatiently(path, listingFlags, throughFlags));
}

unsigned LinuxDirectoryReader::maxOpenFolders() const {
    return maxOpenFoldersBeside(openDescriptors());
}

}  // namespace vestigo
