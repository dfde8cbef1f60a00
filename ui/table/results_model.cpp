// A refresh must keep current cell, selection range and scroll position, and with a hundred
// thousand rows it must stay fast. Resetting the model would lose the first; reporting each row
// that moved would fail the second. So `replace` reports at most one removal, one insertion and two
// layout changes, whatever has changed: rows that go are first moved to the end, and new rows
// arrive at the end. The map from group to new row is built once; groups of the same list are told
// by their address, those of different lists by their root.
#include "ui/table/results_model.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "ui/widgets/text.h"

namespace vestigo {
namespace {

Column columnOf(int section) {
    return static_cast<Column>(section);
}

/// Returns a function from a group to the row of the group with the same key, or -1.
template <class Key, class KeyOf>
auto positionsIn(const std::vector<const BundleGroup*>& rows, KeyOf keyOf) {
    std::unordered_map<Key, int> positions;
    positions.reserve(rows.size());
    int row = 0;
    for (const auto* const group : rows) positions.emplace(keyOf(*group), row++);
    return [positions = std::move(positions), keyOf](const BundleGroup& group) {
        const auto found = positions.find(keyOf(group));
        return found == positions.end() ? -1 : found->second;
    };
}

}  // namespace

ResultsModel::ResultsModel(const ContentView& content, QObject* parent)
    : QAbstractTableModel(parent), content_(content), visible_(content.visibleRows()) {}

bool ResultsModel::refresh() {
    auto next = content_.visibleRows();
    if (next.keeper == visible_.keeper) {
        if (next.rows == visible_.rows) return false;
        auto position = positionsIn<const BundleGroup*>(
            next.rows, [](const BundleGroup& group) { return &group; });
        replace(std::move(next), std::move(position));
        return true;
    }
    const bool sameOrder =
        std::ranges::equal(next.rows, visible_.rows, {}, &BundleGroup::root, &BundleGroup::root);
    if (sameOrder) {
        visible_ = std::move(next);
        return false;
    }
    auto position = positionsIn<std::string_view>(
        next.rows, [](const BundleGroup& group) { return std::string_view(group.root); });
    replace(std::move(next), std::move(position));
    return true;
}

/// Removes the rows that have gone, appends the new ones, then sorts all rows. Until the last step,
/// `visible_.rows` points into both the previous and the next list.
template <class Position>
void ResultsModel::replace(VisibleRows next, Position position) {
    const auto previous =
        visible_.keeper;  // Keeps the previous groups alive until no row points to them.
    Rows staying;
    Rows leaving;
    std::vector<int> newRowOf;
    std::vector<bool> known(next.rows.size(), false);
    for (const auto* const group : visible_.rows) {
        const int row = position(*group);
        if (row >= 0) known[static_cast<std::size_t>(row)] = true;
        newRowOf.push_back(row < 0 ? -1 : static_cast<int>(staying.size()));
        (row < 0 ? leaving : staying).push_back(group);
    }
    const auto kept = static_cast<int>(staying.size());
    if (!leaving.empty()) {
        int tail = kept;
        for (int& row : newRowOf) {
            if (row < 0) row = tail++;
        }
        std::ranges::copy(leaving, std::back_inserter(staying));
        rearrange(std::move(staying), newRowOf);
        beginRemoveRows({}, kept, tail - 1);
        visible_.rows.resize(static_cast<std::size_t>(kept));
        endRemoveRows();
    }
    Rows arriving;
    for (std::size_t row = 0; row < known.size(); ++row) {
        if (!known[row]) arriving.push_back(next.rows[row]);
    }
    if (!arriving.empty()) {
        beginInsertRows({}, kept, kept + static_cast<int>(arriving.size()) - 1);
        std::ranges::copy(arriving, std::back_inserter(visible_.rows));
        endInsertRows();
    }
    newRowOf.clear();
    for (const auto* const group : visible_.rows) newRowOf.push_back(position(*group));
    rearrange(std::move(next.rows), newRowOf);
    visible_.keeper = std::move(next.keeper);
}

void ResultsModel::rearrange(Rows rows, const std::vector<int>& newRowOf) {
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    visible_.rows = std::move(rows);
    const auto before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const auto& old : before) {
        after << index(newRowOf[static_cast<std::size_t>(old.row())], old.column());
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, VerticalSortHint);
}

std::optional<int> ResultsModel::rowOf(std::string_view root) const {
    const auto found = std::ranges::find(visible_.rows, root, &BundleGroup::root);
    if (found == visible_.rows.end()) return std::nullopt;
    return static_cast<int>(found - visible_.rows.begin());
}

CellContent ResultsModel::cell(const QModelIndex& index) const {
    return cellContent(content_, group(index.row()), columnOf(index.column()));
}

int ResultsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(visible_.rows.size());
}

int ResultsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(vestigo::columnCount);
}

QVariant ResultsModel::data(const QModelIndex& index, int role) const {
    if (role == Qt::DisplayRole && index.isValid()) return toQString(cell(index).text);
    return {};
}

QVariant ResultsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::DisplayRole) return toQString(columnTraits(columnOf(section)).title);
    if (role == Qt::TextAlignmentRole) return {Qt::AlignLeft | Qt::AlignVCenter};
    return {};
}

}  // namespace vestigo
