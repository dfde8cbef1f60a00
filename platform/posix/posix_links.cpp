// The walk is depth first and holds only the current folder open. For each folder above, it keeps
// the names still to be visited and the folder's device and inode number. It returns through ".."
// and compares these: if another folder is there, the current one was moved during the walk. The
// walk then ends, as the path it knows no longer leads here and removing by it could hit foreign
// links.
//
// A link is always read and removed by its name in the open folder, so nothing that happens to the
// path above it can redirect the removal.
#include "platform/posix/posix_links.h"

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_access.h"

namespace vestigo {
namespace {

#ifdef AT_NO_AUTOMOUNT
constexpr int leaveUnmounted = AT_NO_AUTOMOUNT;
#else
constexpr int leaveUnmounted = 0;  // Only Linux has to be told.
#endif

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

/// Reads the destinations of links into one buffer for the whole walk.
class DestinationReader {
public:
    /// The view is valid until the next call. Absent when the name is not that of a link, or the
    /// destination is longer than a path may be.
    std::optional<std::string_view> read(int folder, const char* name) {
        const auto length = readlinkat(folder, name, text_.data(), text_.size());
        if (length <= 0 || static_cast<std::size_t>(length) == text_.size()) return std::nullopt;
        return std::string_view(text_.data(), static_cast<std::size_t>(length));
    }

private:
    std::array<char, PATH_MAX> text_;
};

class OpenFoundLink : public FoundLink {
public:
    OpenFoundLink(std::string_view folderPath, int folder, const char* name,
                  std::string_view destination)
        : folderPath_(folderPath), folder_(folder), name_(name), destination_(destination) {}

    std::string_view folder() const override { return folderPath_; }
    std::string_view destination() const override { return destination_; }
    bool removeDead() override {
        DestinationReader now;
        if (!isDead() || now.read(folder_, name_) != destination_) return false;
        return unlinkat(folder_, name_, 0) == 0;
    }

private:
    /// A destination that this user may only be unable to reach counts as alive.
    bool isDead() const {
        struct stat reached {};
        if (fstatat(folder_, name_, &reached, leaveUnmounted) == 0) return false;
        return errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
    }

    std::string_view folderPath_;
    int folder_;
    const char* name_;
    std::string_view destination_;
};

class Walk {
public:
    Walk(const std::string& folder, const std::function<void(FoundLink&)>& visitor)
        : path_(folder), current_(open(folder.c_str(), folderFlags)), visitor_(visitor) {}

    void run() {
        if (!current_) return;
        enter();
        for (;;) {
            if (!levels_.back().folders.empty()) {
                goDown();
                continue;
            }
            levels_.pop_back();
            if (levels_.empty() || !goUp()) return;
        }
    }

private:
    /// A folder on the way from the first one to the current one.
    struct Level {
        dev_t device;
        ino_t number;
        std::size_t pathLength;
        std::vector<std::string> folders;  ///< Folders in it, still to be visited.
    };

    /// Visits the links of the current folder and notes its folders.
    void enter() {
        struct stat status {};
        fstat(current_.get(), &status);
        levels_.push_back({status.st_dev, status.st_ino, path_.size(), {}});
        const auto listing = openListing(current_.get());
        while (const auto* entry = listing ? readdir(listing.get()) : nullptr) visit(*entry);
    }

    void visit(const dirent& entry) {
        const std::string_view name = entry.d_name;
        if (name == "." || name == "..") return;
        switch (entry.d_type == DT_UNKNOWN ? typeOf(entry.d_name) : entry.d_type) {
            case DT_DIR: levels_.back().folders.emplace_back(name); return;
            case DT_LNK: visitLink(entry.d_name); return;
        }
    }

    unsigned char typeOf(const char* name) const {
        struct stat status {};
        const int flags = AT_SYMLINK_NOFOLLOW | leaveUnmounted;
        if (fstatat(current_.get(), name, &status, flags) != 0) return DT_UNKNOWN;
        return static_cast<unsigned char>(IFTODT(status.st_mode));
    }

    void visitLink(const char* name) {
        const auto destination = destinations_.read(current_.get(), name);
        if (!destination) return;
        OpenFoundLink link(path_, current_.get(), name, *destination);
        visitor_(link);
    }

    void goDown() {
        const auto name = std::move(levels_.back().folders.back());
        levels_.back().folders.pop_back();
        Descriptor below(openat(current_.get(), name.c_str(), folderFlags | O_NOFOLLOW));
        if (!below) return;
        current_ = std::move(below);
        path_.append("/").append(name);
        enter();
    }

    /// False when the parent is not the folder that the walk came from.
    bool goUp() {
        current_ = Descriptor(openat(current_.get(), "..", folderFlags));
        const auto& above = levels_.back();
        path_.resize(above.pathLength);
        struct stat status {};
        return current_ && fstat(current_.get(), &status) == 0 && status.st_dev == above.device &&
               status.st_ino == above.number;
    }

    std::string path_;
    Descriptor current_;
    const std::function<void(FoundLink&)>& visitor_;
    std::vector<Level> levels_;
    DestinationReader destinations_;
};

}  // namespace

void PosixLinks::visit(const std::string& folder, const std::function<void(FoundLink&)>& visitor) {
    Walk(folder, visitor).run();
}

}  // namespace vestigo
