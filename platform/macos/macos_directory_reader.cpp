#include "platform/macos/macos_directory_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <libproc.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/macos_folder_batch.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"

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

// The kernel's own trees: nothing in them is a program, and what is not mounted yet would be by
// looking at it.
constexpr std::string_view pseudoFileSystems[] = {"devfs", "autofs"};

bool isPseudoFileSystem(int folder) {
    struct statfs info {};
    if (::fstatfs(folder, &info) != 0) return false;
    const std::string_view type = info.f_fstypename;
    return std::ranges::find(pseudoFileSystems, type) != std::end(pseudoFileSystems);
}

BatchTime batchTime(const timespec& time) {
    return {time.tv_sec, time.tv_nsec};
}

double since2001(const timespec& time) {
    return secondsSince2001(batchTime(time));
}

std::optional<FileAttributes> attributesOfFile(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) return std::nullopt;
    return FileAttributes{.size = status.st_size,
                          .mtime = since2001(status.st_mtimespec),
                          .ctime = since2001(status.st_birthtimespec),
                          .modified = nanoseconds(batchTime(status.st_mtimespec)),
                          .changed = nanoseconds(batchTime(status.st_ctimespec)),
                          .inode = status.st_ino};
}

class MacOSHeaderFile : public HeaderFile {
public:
    explicit MacOSHeaderFile(Descriptor file) : file_(std::move(file)) {}

    std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
        return vestigo::readStart(file_.get(), buffer);
    }

    std::optional<FileAttributes> attributes() override {
        struct stat status {};
        if (::fstat(file_.get(), &status) != 0) return std::nullopt;
        return attributesOfFile(status);
    }

private:
    Descriptor file_;
};

constexpr int listingFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK;
constexpr int throughFlags = listingFlags;

/// Null where there is no folder.
std::unique_ptr<Folder> readable(Descriptor folder);

class MacOSFolder : public Folder {
public:
    explicit MacOSFolder(Descriptor folder) : folder_(std::move(folder)) {}

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
        return attributesOfFile(status);
    }

    std::unique_ptr<HeaderFile> openFile(const char* name) override {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        auto file = openPatiently(folder_.get(), name, flags);
        if (!file) return nullptr;
        // Only the start is read; the system would fetch what follows it as well.
        ::fcntl(file.get(), F_RDAHEAD, 0);
        return std::make_unique<MacOSHeaderFile>(std::move(file));
    }

    std::unique_ptr<Folder> openFolder(std::string_view path) override {
        return readable(openFolderBelow(folder_.get(), path, listingFlags, throughFlags));
    }

private:
    bool visit(const BatchEntry& entry,
               const std::function<bool(const FolderEntry&)>& visitor) const {
        // Not every file system leaves these two out.
        if (entry.name == "." || entry.name == "..") return true;
        FolderEntry found{.name = entry.name,
                          .kind = EntryKind::unknown,
                          .hidden = isHidden(entry),
                          .attributes = {}};
        // A scan that fetched what is kept in a cloud would fill the disk.
        if (found.hidden || entry.failed || isElsewhere(entry)) return visitor(found);
        found.kind = kindOf(entry).value_or(EntryKind::unknown);
        if (!entry.objectType) found.kind = kindByLook(entry.name.data());
        // A rescan compares these; where one is missing they are asked for in full.
        const bool whole =
            entry.dataLength && entry.modified && entry.created && entry.changed && entry.fileId;
        if (found.kind == EntryKind::file && whole) found.attributes = attributesOf(entry);
        return visitor(found);
    }

    /// Some file systems do not say the kind in the listing.
    EntryKind kindByLook(const char* name) const {
        struct stat status {};
        if (::fstatat(folder_.get(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return EntryKind::unknown;
        }
        return kindByMode(status.st_mode);
    }

    Descriptor folder_;
};

std::unique_ptr<Folder> readable(Descriptor folder) {
    if (!folder) return nullptr;
    if (isPseudoFileSystem(folder.get())) return emptyFolder();
    return std::make_unique<MacOSFolder>(std::move(folder));
}

std::size_t openDescriptors() {
    // Asked without a buffer, the system answers with more room than it needs.
    const int room = ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, nullptr, 0);
    if (room <= 0) return 0;
    std::vector<proc_fdinfo> descriptors(static_cast<std::size_t>(room) / sizeof(proc_fdinfo) + 1);
    const auto size = static_cast<int>(descriptors.size() * sizeof(proc_fdinfo));
    const int used = ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, descriptors.data(), size);
    return used > 0 ? static_cast<std::size_t>(used) / sizeof(proc_fdinfo) : 0;
}

}  // namespace

std::unique_ptr<Folder> MacOSDirectoryReader::open(const std::string& path) {
    return readable(openFolderPatiently(path, listingFlags, throughFlags));
}

unsigned MacOSDirectoryReader::maxOpenFolders() const {
    return maxOpenFoldersBeside(openDescriptors());
}

}  // namespace vestigo
