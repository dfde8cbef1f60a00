#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "engine/removal_guard.h"
#include "engine/scanner.h"
#include "platform/posix/posix_files.h"
#include "tests/support/scan_fakes.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

/// Takes what it is given unless told otherwise.
class FakeTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string& path) override {
        asked.push_back(path);
        if (failing.contains(path)) return "cannot move " + path;
        return std::nullopt;
    }
    Paths asked;
    std::set<std::string> failing;
};

/// Files whose folders lead elsewhere as told.
class LeadingFiles : public PosixFiles {
public:
    std::optional<std::string> resolved(const std::string& path) override {
        const auto found = leads.find(path);
        return found == leads.end() ? path : found->second;
    }
    std::unordered_map<std::string, std::string> leads;
};

struct ScannerRemovalTest : testing::Test {
    void found(const Paths& paths, const std::vector<std::string>& archs = {"x86_64"}) {
        for (const auto& path : paths) {
            record.hits.push_back(std::make_shared<BinaryHit>(BinaryHit{path, archs, 1, 2, 3}));
        }
    }
    void apple(const std::string& root) { record.signatures->emplace(root, SignInfo{true, ""}); }
    Scanner& scanner() {
        if (made) return *made;
        store->record = record;
        ScannerServices services;
        services.store = store;
        services.trash = trash;
        services.files = files;
        made = std::make_unique<Scanner>(services);
        return *made;
    }
    [[nodiscard]] static Paths pathsOf(const HitList& hits) {
        Paths paths;
        for (const auto& hit : hits) paths.push_back(hit->path);
        return paths;
    }

    ScanFile record{
        .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
    std::shared_ptr<test::MemoryStore> store = std::make_shared<test::MemoryStore>();
    std::shared_ptr<FakeTrash> trash = std::make_shared<FakeTrash>();
    std::shared_ptr<LeadingFiles> files = std::make_shared<LeadingFiles>();
    std::unique_ptr<Scanner> made;
};

TEST_F(ScannerRemovalTest, ForgetsWhatLiesUnderRemovedRootsAndNothingElse) {
    const Paths stays{"/Applications/Foo.app2/x", "/Applications/Fo", "/Applications/Other.app/x"};
    found({"/Applications/Foo.app/a", "/Applications/Bar.app/a"});
    found(stays);
    found({"/Applications/Foo.app/b/c", "/usr/local/bin/tool"});
    EXPECT_EQ(scanner().trashGroups({"/Applications/Foo.app", "/Applications/Bar.app",
                                     "/usr/local/bin/tool", "/Applications/Gone.app"}),
              std::nullopt);
    EXPECT_EQ(trash->asked,
              (Paths{"/Applications/Foo.app", "/Applications/Bar.app", "/usr/local/bin/tool"}));
    EXPECT_EQ(pathsOf(scanner().allHits()), stays);
    EXPECT_EQ(scanner().groups().size(), 3U);
    EXPECT_EQ(pathsOf(store->record->hits), stays);
    EXPECT_EQ(store->writes, 1);
}

TEST_F(ScannerRemovalTest, GoesOnAfterFailuresAndKeepsTheFirst) {
    found({"/A.app/x", "/B.app/x", "/C.app/x"});
    trash->failing = {"/A.app", "/C.app"};
    EXPECT_EQ(scanner().trashGroups({"/A.app", "/B.app", "/C.app"}), "cannot move /A.app");
    EXPECT_EQ(pathsOf(scanner().allHits()), (Paths{"/A.app/x", "/C.app/x"}));
    EXPECT_EQ(scanner().trashGroups({"/none"}), std::nullopt);
    EXPECT_EQ(store->writes, 2);
}

TEST_F(ScannerRemovalTest, TrashesAPathAndForgetsWhatLayUnderIt) {
    found({"/k/wget/1/bin/wget", "/k/wget2/x"});
    trash->failing = {"/k/wget"};
    EXPECT_EQ(scanner().trashPath("/k/wget"), "cannot move /k/wget");
    EXPECT_EQ(store->writes, 0);
    trash->failing.clear();
    EXPECT_EQ(scanner().trashPath("/k/wget"), std::nullopt);
    EXPECT_EQ(pathsOf(scanner().allHits()), Paths{"/k/wget2/x"});
    EXPECT_EQ(store->writes, 1);
}

TEST_F(ScannerRemovalTest, PassesOverWhatIsNeverRemovedWithoutAWord) {
    found({"/System/Library/A.app/x", "/Signed.app/x", "/Kept.app/x"});
    found({"/Kept.app/native"}, {"arm64"});
    apple("/Signed.app");
    EXPECT_EQ(scanner().trashGroups({"/System/Library/A.app", "/Signed.app", "/Kept.app"}),
              std::nullopt);
    EXPECT_TRUE(trash->asked.empty());
    EXPECT_EQ(scanner().allHits().size(), 4U);
}

TEST_F(ScannerRemovalTest, RefusesWhatReallyLiesWhereNothingIsRemoved) {
    files->leads = {{"/a/", "/System/Library"}, {"/b/", "/Applications"}};
    found({"/a/X.app/x", "/b/Signed.app/x", "/b/Kept.app/x", "/Applications/Kept.app/x"});
    found({"/Applications/Kept.app/native"}, {"arm64"});
    apple("/Applications/Signed.app");
    const auto text = [](const std::string& name, const std::string& why) {
        return "“" + name + "” " + why + " and was left in its place.";
    };
    EXPECT_EQ(scanner().trashGroups({"/a/X.app", "/b/Kept.app"}),
              text("X.app", "is protected by the system"));
    EXPECT_EQ(scanner().trashGroups({"/b/Signed.app"}), text("Signed.app", "is signed by Apple"));
    EXPECT_EQ(scanner().trashPath("/b/Kept.app"), text("Kept.app", "also runs natively"));
    for (const auto* path : {"/System/Library/X", "/Library/Apple", "/Library", "/"}) {
        EXPECT_TRUE(scanner().trashPath(path)) << path;
    }
    EXPECT_TRUE(trash->asked.empty());
    EXPECT_EQ(scanner().allHits().size(), 5U);
    EXPECT_EQ(store->writes, 2);
}

TEST_F(ScannerRemovalTest, RefusesABundleThatALinkHasReplaced) {
    const test::TemporaryTree tree;
    found({tree.at("Foo.app/x")});
    fs::create_symlink("/usr", tree.at("Foo.app"));
    EXPECT_EQ(scanner().trashGroups({tree.at("Foo.app")}),
              "“Foo.app” is only a link to what the scan found and was left in its place.");
    EXPECT_TRUE(trash->asked.empty());
}

TEST(RealPlace, FollowsTheFoldersButNotTheItem) {
    const test::TemporaryTree tree;
    PosixFiles files;
    fs::create_symlink(tree.folder("real"), tree.at("link"));
    fs::create_symlink("/usr/bin", tree.at("real/item"));
    EXPECT_EQ(realPlace(tree.at("link/item"), files), tree.at("real/item"));
    EXPECT_EQ(realPlace("/item", files), "/item");
    for (const auto* path : {"link/", "link/.", "link/..", "none/item"}) {
        EXPECT_EQ(realPlace(tree.at(path), files), std::nullopt) << path;
    }
    EXPECT_TRUE(protectionOf(tree.at("link/item/env"), files));
    EXPECT_FALSE(protectionOf(tree.at("link/item"), files));
}

}  // namespace
}  // namespace vestigo
