// While the user extends a range (Shift and an arrow key, or the mouse), Qt calls `select` again
// and again with the flag Current and the whole range as it is now. Each call has to replace the
// range of the call before, so the selection from before the range is kept in `before_`, and every
// call computes the new selection from it.
#include "ui/table/row_selection.h"

#include <utility>

namespace vestigo {

RowSelection::RowSelection(ContentView& content, ResultsModel& rows, QObject* parent)
    : QItemSelectionModel(&rows, parent), content_(content), rows_(rows) {
    subscription_ = content.subscribe([this](ContentField field) {
        if (field == ContentField::selection && !selecting_) changedElsewhere();
    });
}

/// A root that the model has deselected must not be selected again by the next range.
void RowSelection::changedElsewhere() {
    const auto& now = content_.selection();
    std::erase_if(before_, [&now](const std::string& root) { return !now.contains(root); });
}

void RowSelection::select(const QItemSelection& selection, SelectionFlags command) {
    if (command == NoUpdate) return;
    if (command.testFlag(Clear)) {
        before_.clear();
    } else if (!command.testFlag(Current)) {
        before_ = content_.selection();
    }
    auto selected = before_;
    std::size_t rows = 0;
    for (const auto& range : selection) rows += static_cast<std::size_t>(range.height());
    selected.reserve(selected.size() + rows);
    const auto apply = [&](const std::string& root) {
        const bool remove =
            command.testFlag(Deselect) || (command.testFlag(Toggle) && before_.contains(root));
        if (remove) {
            selected.erase(root);
        } else {
            selected.insert(root);
        }
    };
    if (command & (Select | Deselect | Toggle)) {
        for (const auto& range : selection) {
            for (int row = range.top(); row <= range.bottom(); ++row) apply(rows_.group(row).root);
        }
    }
    selecting_ = true;
    content_.setSelection(std::move(selected));
    selecting_ = false;
}

}  // namespace vestigo
