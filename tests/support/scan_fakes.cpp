#include "tests/support/scan_fakes.h"

#include <array>
#include <utility>

#include "engine/mach_o.h"
#include "engine/scan_rules.h"

namespace vestigo::test {

void RecordingListener::progress(std::int64_t scanned, const std::string& path) {
    reports.push_back("progress " + std::to_string(scanned) + " " + path);
}

void RecordingListener::partial(HitList added, std::int64_t scanned) {
    hits.insert(hits.end(), added.begin(), added.end());
    count = scanned;
    reports.push_back("partial " + std::to_string(hits.size()) + " " + std::to_string(scanned));
}

void RecordingListener::final(HitList added, std::int64_t scanned) {
    hits.insert(hits.end(), added.begin(), added.end());
    count = scanned;
    reports.push_back("final " + std::to_string(hits.size()) + " " + std::to_string(scanned));
}

std::vector<std::string> RecordingListener::paths() const {
    std::vector<std::string> result;
    for (const auto& hit : hits) result.push_back(hit->path);
    return result;
}

namespace {

/// One thread, one folder after the other, as plain as can be.
struct SimpleWalk {
    DirectoryReader& reader;
    RecordingListener listener = {};
    HitList pending = {};
    std::int64_t count = 0;

    void enter(const std::string& path, LinkRule links) {
        const auto folder = reader.open(path, links);
        if (!folder) return;
        std::vector<std::string> files;
        std::vector<std::string> subFolders;
        folder->list([&](const FolderEntry& entry) {
            const std::string name(entry.name);
            if (entry.hidden || isExcludedName(name)) return true;
            if (entry.kind == EntryKind::folder) subFolders.push_back(name);
            if (entry.kind == EntryKind::file && !isDatabaseName(name)) files.push_back(name);
            return true;
        });
        for (const auto& name : files) take(*folder, path + "/" + name, name);
        for (const auto& name : subFolders) enter(path + "/" + name, LinkRule::refuse);
    }

    void take(Folder& folder, const std::string& path, const std::string& name) {
        if (++count % 1000 == 0) listener.progress(count, path);
        const auto file = folder.openFile(name.c_str());
        if (!file) return;
        std::array<std::byte, machOHeaderBytes> buffer{};
        auto archs = machOArchs(std::span(buffer).first(file->readStart(buffer)));
        const auto attributes = file->attributes();
        if (!archs || !attributes) return;
        pending.push_back(std::make_shared<BinaryHit>(
            BinaryHit{path, *archs, attributes->size, attributes->mtime, attributes->ctime}));
        if (pending.size() == 2000) listener.partial(std::exchange(pending, {}), count);
    }
};

}  // namespace

RecordingListener simpleWalk(DirectoryReader& reader, const std::vector<std::string>& roots) {
    SimpleWalk walk{.reader = reader};
    for (const auto& root : roots) walk.enter(root, LinkRule::follow);
    walk.listener.final(walk.pending, walk.count);
    return walk.listener;
}

}  // namespace vestigo::test
