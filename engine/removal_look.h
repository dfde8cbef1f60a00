// The look into an item before it goes to the Trash: what it is now, and what code it holds now.
//
// What a scan remembers may be old, and a scan that runs or was stopped knows only a part. So an
// item is looked into anew: in the background from the moment it is shown to the user, which may
// take long, and once more right before it is moved, when only what has changed since is read.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "engine/file_memory.h"
#include "engine/records.h"
#include "platform/directory_reader.h"
#include "platform/files.h"
#include "platform/tasks.h"

namespace vestigo {

/// Which code keeps an item in its place.
enum class CodeRule : std::uint8_t {
    /// Any arm64 code: for a group of the scan, which is then one to be kept.
    noArm64,
    /// A group to be kept: a bundle in the item that holds arm64 code, or the item itself where its
    /// name makes it a bundle and it holds both kinds. For leftovers and old copies, in which a
    /// universal file that belongs to no bundle may go.
    noKeptGroup,
};

/// An item that may be removed, as it was when the user was shown it.
struct RemovalItem {
    std::string path;
    std::optional<ItemIdentity> identity;  ///< Absent: nothing was there.
    CodeRule rule = CodeRule::noArm64;
};

/// What looking at an item needs. Shared by several threads.
struct LookServices {
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<Files> files;
    /// The signature summary of a group root. Empty: no signature is looked at.
    std::function<SignInfo(const std::string& root)> inspect;
    /// Makes a memory for the looks into one item, so that the one right before it goes reads only
    /// what has changed since the one before. Empty: each reads everything.
    std::function<std::unique_ptr<FileMemory>()> makeMemory = {};
};

/// What a look has found at the path of an item.
struct ItemFacts {
    std::optional<ItemIdentity> identity;  ///< Absent: nothing is there.
    std::string place;                     ///< Where the item really lies: no link leads there.
    bool holdsLegacy = false;  ///< Some file in it holds Intel or PowerPC code and no arm64 code.
    bool holdsArm64 = false;   ///< Some file in it holds arm64 code.
    /// A bundle in the item, not the item itself, that holds arm64 code.
    std::optional<std::string> arm64Bundle;
    std::unordered_set<std::string> roots;  ///< The group roots of all Mach-O files in it.
    std::size_t code = 0;                   ///< Another number after any change of those files.
    std::optional<std::string> unread;      ///< Something in it that could not be looked at.
    std::optional<std::string> appleRoot;   ///< A group in it that Apple has signed.
};

/// Why an item of which this has been found must stay, for the user to read; absent when it may go.
/// An item that is no longer there may go: whoever is to move it says so.
[[nodiscard]] std::optional<std::string> refusal(const RemovalItem& item, const ItemFacts& facts);

/// The looks into one item. Thread-safe: of two calls at a time one waits for the other.
class ItemLook {
public:
    ItemLook(RemovalItem item, LookServices services);

    [[nodiscard]] const RemovalItem& item() const { return item_; }
    /// Looks now. Why the item must stay; absent when it may go. Blocking, and long when a large
    /// item is looked into for the first time. When `cancelled`, it ends within a moment with any
    /// answer.
    [[nodiscard]] std::optional<std::string> refusal(const CancelFlag& cancelled);
    /// What the latest look found at the path; absent when that was nothing, or it could not tell.
    [[nodiscard]] std::optional<ItemIdentity> found() const;
    /// Where the item really lies, as the latest look found it.
    [[nodiscard]] std::string place() const;

private:
    /// Into fewer files one thread looks as quickly as several.
    static constexpr std::int64_t manyFiles = 1000;

    void gather(const CancelFlag& cancelled);
    void lookThrough(const CancelFlag& cancelled);
    void startOver();
    void readSignatures(const CancelFlag& cancelled);

    const RemovalItem item_;
    const LookServices services_;
    mutable std::mutex mutex_;
    ItemFacts facts_;  ///< Of the latest look.
    /// Of the files that `facts_` take in. Null: the next look takes in all of them anew.
    std::unique_ptr<FileMemory> memory_;
    std::int64_t files_ = manyFiles;  ///< In the item, as the latest look found them.
    bool signaturesRead_ = false;     ///< Of `facts_.roots`, to the end.
};

/// The looks of one removal, one after the other in the background. Main thread only. What is under
/// way when it is destroyed ends within a moment.
class RemovalLooks {
public:
    RemovalLooks(LookServices services, std::shared_ptr<MainQueue> main,
                 std::shared_ptr<BackgroundTasks> background);
    ~RemovalLooks();
    RemovalLooks(const RemovalLooks&) = delete;
    RemovalLooks& operator=(const RemovalLooks&) = delete;

    /// Begins to look into the item. Ignored for a path that is there already.
    void add(RemovalItem item);
    /// The item with this path is not to be removed after all.
    void drop(const std::string& path);
    [[nodiscard]] bool busy() const { return underWay_ || !waiting_.empty(); }
    /// Calls `idle` once everything has been looked into, at once when it has been. A later call
    /// takes the place of an earlier one; an empty one ends the waiting.
    void whenIdle(std::function<void()> idle);

    /// The looks into this item; null for one that was never added.
    [[nodiscard]] std::shared_ptr<ItemLook> find(const std::string& path) const;

private:
    struct Entry {
        std::shared_ptr<ItemLook> look;
        CancelFlag cancelled;
    };

    void startNext();
    void lookEnded();

    LookServices services_;
    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<BackgroundTasks> background_;
    std::unordered_map<std::string, Entry> entries_;  ///< By path.
    std::deque<std::string> waiting_;                 ///< Paths, the next one first.
    bool underWay_ = false;                           ///< A look runs in the background.
    std::function<void()> idle_;
    WeakAnchor<RemovalLooks> anchor_{*this};
};

}  // namespace vestigo
