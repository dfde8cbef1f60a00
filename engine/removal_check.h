// Checks an item on the disk before it goes to the Trash: whether it is still the same item, and
// which code it holds now.
//
// The results of a scan may be old, and a scan that is running or was stopped knows only a part of
// the disk. So each item is checked twice: in the background from the moment when it is shown to
// the user, which may take long, and again right before it is moved, when only what has changed
// since the first check is read.
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

/// Tells which code inside an item forbids its removal.
enum class CodeRule : std::uint8_t {
    /// Any arm64 code does. For a group of the scan, which with arm64 code is one to be kept.
    noArm64,
    /// Only a group to be kept does: a bundle inside the item that holds arm64 code, or the item
    /// itself if it is a bundle by its name and holds arm64 and legacy code. For leftovers and old
    /// copies, in which a universal file that belongs to no bundle may go.
    noKeptGroup,
};

/// An item that may be removed, in the state in which the user was shown it.
struct RemovalItem {
    std::string path;
    std::optional<ItemIdentity> identity;  ///< Absent when nothing was there.
    CodeRule rule = CodeRule::noArm64;
};

/// The services that a check needs. Several threads use them at a time.
struct CheckServices {
    std::shared_ptr<DirectoryReader> reader;
    std::shared_ptr<Files> files;
    /// Reads the signature summary of a group root. When it is empty, signatures are not checked.
    std::function<SignInfo(const std::string& root)> inspect;
    /// Makes a memory for the checks of one item, so that the last check reads only what has
    /// changed since the one before. When it is empty, each check reads everything.
    std::function<std::unique_ptr<FileMemory>()> makeMemory = {};
};

/// The facts that a check has found at the path of an item.
struct ItemFacts {
    std::optional<ItemIdentity> identity;  ///< Absent when nothing is there.
    std::string place;         ///< The item's path with the links in the folders above it resolved.
    bool holdsLegacy = false;  ///< Some file in it holds Intel or PowerPC code and no arm64 code.
    bool holdsArm64 = false;   ///< Some file in it holds arm64 code.
    /// A bundle inside the item, not the item itself, that holds arm64 code.
    std::optional<std::string> arm64Bundle;
    std::unordered_set<std::string> roots;  ///< The group roots of all Mach-O files in it.
    std::size_t code = 0;                   ///< A hash of those files; it changes with any of them.
    std::optional<std::string> unread;      ///< The path of something that could not be read.
    std::optional<std::string> appleRoot;   ///< The root of a group in it that Apple has signed.
};

/// Decides by these facts. Returns the reason why the item must stay, for the user to read; absent
/// when it may go. An item that is no longer there may go: the attempt to move it reports that.
[[nodiscard]] std::optional<std::string> refusal(const RemovalItem& item, const ItemFacts& facts);

/// Checks one item, as often as it is asked to. Thread-safe: of two calls at a time one waits for
/// the other.
class ItemCheck {
public:
    ItemCheck(RemovalItem item, CheckServices services);

    [[nodiscard]] const RemovalItem& item() const { return item_; }
    /// Checks the item now. Returns the reason why it must stay; absent when it may go. Blocking;
    /// the
    /// first check of a large item takes long. When `cancelled`, it ends within a moment and the
    /// answer means nothing.
    [[nodiscard]] std::optional<std::string> refusal(const CancelFlag& cancelled);
    /// The item that the latest check found at the path; absent when it found none or failed.
    [[nodiscard]] std::optional<ItemIdentity> found() const;
    /// The place of the item (see `ItemFacts`), as the latest check found it.
    [[nodiscard]] std::string place() const;

private:
    /// One thread reads fewer files than this as quickly as several threads do.
    static constexpr std::int64_t manyFiles = 1000;

    void gather(const CancelFlag& cancelled);
    void walkItem(const CancelFlag& cancelled);
    void startOver();
    void readSignatures(const CancelFlag& cancelled);

    const RemovalItem item_;
    const CheckServices services_;
    mutable std::mutex mutex_;
    ItemFacts facts_;  ///< Found by the latest check.
    /// Remembers the files that `facts_` already cover. When it is null, the next check reads all.
    std::unique_ptr<FileMemory> memory_;
    std::int64_t files_ = manyFiles;  ///< How many files the latest check found.
    bool signaturesRead_ = false;     ///< The signatures of all `facts_.roots` have been read.
};

/// Runs the first checks of a removal's items in the background, one after the other. Main thread
/// only. A check that is running when this is destroyed ends within a moment.
class RemovalChecks {
public:
    RemovalChecks(CheckServices services, std::shared_ptr<MainQueue> main,
                  std::shared_ptr<BackgroundTasks> background);
    ~RemovalChecks();
    RemovalChecks(const RemovalChecks&) = delete;
    RemovalChecks& operator=(const RemovalChecks&) = delete;

    /// Adds an item and checks it as soon as those before it are done. Ignored for a path that was
    /// added already.
    void add(RemovalItem item);
    /// Withdraws the item with this path: it is not to be removed after all.
    void drop(const std::string& path);
    [[nodiscard]] bool busy() const { return underWay_ || !waiting_.empty(); }
    /// Calls `idle` once all items have been checked, at once if they have been. A later call
    /// replaces an earlier one; an empty function cancels it.
    void whenIdle(std::function<void()> idle);

    /// The check of this item; null for one that was never added or was withdrawn.
    [[nodiscard]] std::shared_ptr<ItemCheck> find(const std::string& path) const;

private:
    struct Entry {
        std::shared_ptr<ItemCheck> check;
        CancelFlag cancelled;
    };

    void startNext();
    void checkEnded();

    CheckServices services_;
    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<BackgroundTasks> background_;
    std::unordered_map<std::string, Entry> entries_;  ///< Keyed by path.
    std::deque<std::string> waiting_;                 ///< Paths in order, the next one first.
    bool underWay_ = false;                           ///< A check runs in the background.
    std::function<void()> idle_;
    WeakAnchor<RemovalChecks> anchor_{*this};
};

}  // namespace vestigo
