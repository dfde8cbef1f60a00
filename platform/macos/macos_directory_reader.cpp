// One getattrlistbulk call returns names and attributes of many entries, so most files of a scan
// cost no call of their own. Which file system a folder lies on is looked up once per mount. The
// values of `BatchRequest` stand apart from the system's headers so that the decoder can be tested
// on other systems; the assertions below keep them equal.
#include "platform/macos/macos_directory_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <libproc.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include "platform/macos/macos_folder_batch.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/file_systems.h"
#include "platform/posix/folder_access.h"
#include "platform/posix/system_calls.h"

namespace vestigo {
namespace {

static_assert(BatchRequest::returned == ATTR_CMN_RETURNED_ATTRS);
static_assert(BatchRequest::error == ATTR_CMN_ERROR);
static_assert(BatchRequest::name == ATTR_CMN_NAME);
static_assert(BatchRequest::objectType == ATTR_CMN_OBJTYPE);
static_assert(BatchRequest::created == ATTR_CMN_CRTIME);
static_assert(BatchRequest::modified == ATTR_CMN_MODTIME);
static_assert(BatchRequest::changed == ATTR_CMN_CHGTIME);
static_assert(BatchRequest::fileId == ATTR_CMN_FILEID);
static_assert(BatchRequest::flags == ATTR_CMN_FLAGS);
static_assert(BatchRequest::dataLength == ATTR_FILE_DATALENGTH);
static_assert(hiddenFlag == UF_HIDDEN);
static_assert(datalessFlag == SF_DATALESS);
static_assert(sizeof(BatchTime) == sizeof(timespec));

// Pseudo file systems of the kernel: they hold no programs, and to look at what is not mounted yet
// would mount it.
constexpr std::string_view pseudoFileSystems[] = {"devfs", "autofs"};

// File systems whose kernel code updates the change time with every change. Network servers and FAT
// report something else in its place.
constexpr std::string_view fileSystemsWithChangeTimes[] = {"apfs", "hfs"};

/// The identity of a volume, which the system reports only at the volume's root. 0 where it has
/// none.
std::uint64_t volumeIdentity(const std::string& root) {
    struct attrlist wanted {};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.volattr = ATTR_VOL_INFO | ATTR_VOL_UUID;
    struct Answer {
        std::uint32_t length = 0;
        std::array<std::uint32_t, 4> uuid{};
    } answer;
    static_assert(sizeof answer == sizeof(std::uint32_t) + sizeof(uuid_t));
    const int asked = ::getattrlist(root.c_str(), &wanted, &answer, sizeof answer, 0);
    if (asked != 0 || answer.length != sizeof answer) return 0;
    // Folded to 64 bits it still distinguishes volumes.
    return std::uint64_t{answer.uuid[0] ^ answer.uuid[2]} << 32U |
           (answer.uuid[1] ^ answer.uuid[3]);
}

/// The mount on which an open folder lies.
struct Mount {
    std::uint64_t number = 0;
    std::string type;
    std::string root;
};

Mount mountOf(int folder) {
    struct statfs info {};
    if (::fstatfs(folder, &info) != 0) return {};
    const auto [device, type] = info.f_fsid.val;
    return {
        std::uint64_t{static_cast<std::uint32_t>(device)} << 32U | static_cast<std::uint32_t>(type),
        info.f_fstypename, info.f_mntonname};
}

FileSystem fileSystemOf(const Mount& mount) {
    const auto isOneOf = [&mount](const auto& types) {
        return std::ranges::find(types, mount.type) != std::end(types);
    };
    return {.mount = mount.number,
            .isPseudo = isOneOf(pseudoFileSystems),
            .keepsChangeTimes = isOneOf(fileSystemsWithChangeTimes),
            .identity = volumeIdentity(mount.root)};
}

BatchTime batchTime(const timespec& time) {
    return {time.tv_sec, time.tv_nsec};
}

double since2001(const timespec& time) {
    return secondsSince2001(batchTime(time));
}

/// Completes attributes with those of their file system.
FileAttributes on(const FileSystem& fileSystem, FileAttributes attributes) {
    attributes.fileSystem = fileSystem.identity;
    if (!fileSystem.keepsChangeTimes) attributes.changed = 0;
    return attributes;
}

std::optional<FileAttributes> attributesOfFile(const struct stat& status,
                                               const FileSystem& fileSystem) {
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    return on(fileSystem, {.size = status.st_size,
                           .mtime = since2001(status.st_mtimespec),
                           .ctime = since2001(status.st_birthtimespec),
                           .modified = nanoseconds(batchTime(status.st_mtimespec)),
                           .changed = nanoseconds(batchTime(status.st_ctimespec)),
                           .inode = status.st_ino});
}

class MacOSHeaderFile : public HeaderFile {
public:
    MacOSHeaderFile(Descriptor file, const FileSystem& fileSystem)
        : file_(std::move(file)), fileSystem_(fileSystem) {}

    std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
        return vestigo::readStart(file_.get(), buffer);
    }

    std::optional<FileAttributes> attributes() override {
        struct stat status {};
        if (::fstat(file_.get(), &status) != 0) return std::nullopt;
        return attributesOfFile(status, fileSystem_);
    }

private:
    Descriptor file_;
    FileSystem fileSystem_;
};

constexpr int listingFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;
constexpr int throughFlags = listingFlags;

class MacOSFolder : public Folder {
public:
    MacOSFolder(Descriptor folder, const FileSystem& fileSystem,
                std::shared_ptr<FileSystemsBelowRoot> fileSystems)
        : folder_(std::move(folder)),
          fileSystem_(fileSystem),
          fileSystems_(std::move(fileSystems)) {}

    bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
        struct attrlist wanted {};
        wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
        wanted.commonattr = BatchRequest::common;
        wanted.fileattr = BatchRequest::dataLength;
        alignas(std::uint64_t) std::array<std::byte, 32768> batch;
        for (;;) {
            const int count =
                ::getattrlistbulk(folder_.get(), &wanted, batch.data(), batch.size(), 0);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return count == 0;
            const auto visitEntry = [&](const BatchEntry& entry) { return visit(entry, visitor); };
            switch (visitBatch(batch, static_cast<std::size_t>(count), visitEntry)) {
                case BatchEnd::reached: break;
                case BatchEnd::visitorStopped: return true;
                case BatchEnd::malformed: return false;
            }
        }
    }

    std::optional<FileAttributes> attributes(const char* name) override {
        struct stat status {};
        if (::fstatat(folder_.get(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
        return attributesOfFile(status, fileSystem_);
    }

    std::unique_ptr<HeaderFile> openFile(const char* name) override {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        auto file = openPatiently(folder_.get(), name, flags);
        if (!file) return nullptr;
        // Only the start is read. Without this hint the system would read ahead.
        ::fcntl(file.get(), F_RDAHEAD, 0);
        return std::make_unique<MacOSHeaderFile>(std::move(file), fileSystem_);
    }

    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        auto folder = openFolderBelow(folder_.get(), path, listingFlags, throughFlags);
        if (!folder) return nullptr;
        const auto mount = mountOf(folder.get());
        const auto fileSystem =
            fileSystems_->of(mount.number, [&mount] { return fileSystemOf(mount); });
        if (fileSystem.isPseudo) return emptyFolder();
        return std::make_unique<MacOSFolder>(std::move(folder), fileSystem, fileSystems_);
    }

private:
    bool visit(const BatchEntry& entry,
               const std::function<bool(const FolderEntry&)>& visitor) const {
        // Some file systems list these two as well.
        if (entry.name == "." || entry.name == "..") return true;
        FolderEntry found{.name = entry.name,
                          .kind = EntryKind::unknown,
                          .hidden = isHidden(entry),
                          .attributes = {}};
        if (found.hidden) return visitor(found);
        const auto kind = kindOf(entry);
        found.kind = kind ? *kind : kindByLook(entry.name.data());
        // A rescan compares all of these; where one is missing, the attributes are asked for in
        // full.
        const bool whole =
            entry.dataLength && entry.modified && entry.created && entry.changed && entry.fileId;
        if (found.kind == EntryKind::file && whole) {
            found.attributes = on(fileSystem_, attributesOf(entry));
        }
        return visitor(found);
    }

    /// Some file systems do not report the kind in the listing.
    EntryKind kindByLook(const char* name) const {
        struct stat status {};
        if (::fstatat(folder_.get(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return EntryKind::unknown;
        }
        return kindByMode(status.st_mode);
    }

    Descriptor folder_;
    FileSystem fileSystem_;
    std::shared_ptr<FileSystemsBelowRoot> fileSystems_;
};

/// Null when no folder was opened.
std::unique_ptr<Folder> rootFolder(Descriptor folder) {
    if (!folder) return nullptr;
    const auto fileSystem = fileSystemOf(mountOf(folder.get()));
    if (fileSystem.isPseudo) return emptyFolder();
    return std::make_unique<MacOSFolder>(std::move(folder), fileSystem,
                                         std::make_shared<FileSystemsBelowRoot>(fileSystem));
}

std::size_t openDescriptors() {
    // Without a buffer, the system returns the size that it needs and some more.
    const int room = ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, nullptr, 0);
    if (room <= 0) return 0;
    std::vector<proc_fdinfo> descriptors(static_cast<std::size_t>(room) / sizeof(proc_fdinfo) + 1);
    const auto size = static_cast<int>(descriptors.size() * sizeof(proc_fdinfo));
    const int used = ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, descriptors.data(), size);
    return used > 0 ? static_cast<std::size_t>(used) / sizeof(proc_fdinfo) : 0;
}

}  // namespace

std::unique_ptr<Folder> MacOSDirectoryReader::open(const std::string& path) {
    return rootFolder(openPathPatiently(path, listingFlags, throughFlags));
}

unsigned MacOSDirectoryReader::maxOpenFolders() const {
    return maxOpenFoldersBeside(openDescriptors());
}

}  // namespace vestigo
