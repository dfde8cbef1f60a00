// What tests of walks need: a listener that keeps what it is told, and the system's own reader of
// folders, of which a test decides what works.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/walk.h"
#include "platform/system.h"

namespace vestigo::test {

/// Keeps everything that a walk reports, as lines where the order matters.
struct Found : WalkListener {
    void progress(std::int64_t scanned, const std::string& path) override {
        reports.push_back(std::to_string(scanned) + " " + path);
    }
    void partial(HitList added, std::int64_t scanned) override {
        hits.insert(hits.end(), added.begin(), added.end());
        reports.push_back(std::to_string(hits.size()) + " of " + std::to_string(scanned));
    }
    void final(HitList added, std::int64_t scanned) override { partial(std::move(added), scanned); }

    HitList hits;
    std::vector<std::string> reports;
    std::optional<std::string> unread;
};

/// Walks with what was found by an earlier walk.
inline Found walked(DirectoryReader& reader, WalkRequest request, const HitList& previous,
                    const CancelFlag& cancelled = {}) {
    Found found;
    PreviousHits known;
    known.provide(previous);
    request.previous = &known;
    found.unread = walk(reader, request, cancelled, found).unread;
    return found;
}

class HookedReader : public DirectoryReader {
public:
    std::unique_ptr<Folder> open(const std::string& path) override {
        return hooked(system_->open(path), path);
    }
    [[nodiscard]] unsigned maxOpenFolders() const override { return system_->maxOpenFolders(); }

    /// Tells whether a step works. It is asked at each "folder" that is opened and at each "list"
    /// that ends, both with the path; at each "entry" of a list, which is of an unknown kind if it
    /// does not work; at each "file" that is opened, each "read" and each asking for "attributes".
    std::function<bool(std::string_view step, std::string_view name)> works =
        [](std::string_view, std::string_view) { return true; };
    /// Changes the attributes of each file.
    std::function<void(FileAttributes&)> change = [](FileAttributes&) {};
    /// As on systems whose listing brings the attributes along: they are never asked for.
    bool listsAttributes = false;

private:
    struct HookedFile : HeaderFile {
        HookedFile(HookedReader& reader, std::unique_ptr<HeaderFile> file, const char* fileName)
            : owner(reader), real(std::move(file)), name(fileName) {}
        std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            return owner.works("read", name) ? real->readStart(buffer) : std::nullopt;
        }
        std::optional<FileAttributes> attributes() override {
            return owner.changed(real->attributes(), name);
        }
        HookedReader& owner;
        std::unique_ptr<HeaderFile> real;
        std::string name;
    };
    struct HookedFolder : Folder {
        HookedFolder(HookedReader& reader, std::unique_ptr<Folder> folder, std::string_view where)
            : owner(reader), real(std::move(folder)), path(where) {}
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            const bool whole = real->list([&](FolderEntry entry) {
                if (!owner.works("entry", entry.name)) entry.kind = EntryKind::unknown;
                if (owner.listsAttributes && entry.kind == EntryKind::file) {
                    entry.attributes = owner.changed(real->attributes(entry.name.data()), "");
                }
                return visitor(entry);
            });
            return owner.works("list", path) && whole;
        }
        std::optional<FileAttributes> attributes(const char* name) override {
            if (owner.listsAttributes) return std::nullopt;
            return owner.changed(real->attributes(name), name);
        }
        std::unique_ptr<HeaderFile> openFile(const char* name) override {
            if (!owner.works("file", name)) return nullptr;
            auto file = real->openFile(name);
            return file ? std::make_unique<HookedFile>(owner, std::move(file), name) : nullptr;
        }
        std::unique_ptr<Folder> openFolder(std::string_view below) override {
            return owner.hooked(real->openFolder(below), path + "/" + std::string(below));
        }
        HookedReader& owner;
        std::unique_ptr<Folder> real;
        std::string path;
    };

    std::unique_ptr<Folder> hooked(std::unique_ptr<Folder> folder, std::string_view path) {
        if (!folder || !works("folder", path)) return nullptr;
        return std::make_unique<HookedFolder>(*this, std::move(folder), path);
    }
    std::optional<FileAttributes> changed(std::optional<FileAttributes> attributes,
                                          std::string_view name) {
        if (!attributes || !works("attributes", name)) return std::nullopt;
        change(*attributes);
        return attributes;
    }

    std::shared_ptr<DirectoryReader> system_ = systemDirectoryReader();
};

}  // namespace vestigo::test
