// Offers the rows of the results table to Qt's views.
#pragma once

#include <QAbstractTableModel>
#include <optional>
#include <string_view>

#include "ui/model/cell_content.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// Has one row for each group, in the order of `ContentView::visibleRows`. It stores no texts: the
/// content of a cell is made each time it is asked for.
class ResultsModel : public QAbstractTableModel {
    Q_OBJECT
public:
    /// `content` must outlive this object. The model begins with the rows of `content`.
    explicit ResultsModel(const ContentView& content, QObject* parent = nullptr);

    /// Updates the rows from `content`. Persistent indexes follow the root of their group. Returns
    /// false if the same groups stand in the same order.
    bool refresh();

    [[nodiscard]] const BundleGroup& group(int row) const {
        return *visible_.rows[static_cast<std::size_t>(row)];
    }
    /// The row of this root, if there is one. Searches all rows.
    [[nodiscard]] std::optional<int> rowOf(std::string_view root) const;
    [[nodiscard]] CellContent cell(const QModelIndex& index) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

private:
    using Rows = std::vector<const BundleGroup*>;
    template <class Position>
    void replace(VisibleRows next, Position position);
    void rearrange(Rows rows, const std::vector<int>& newRowOf);

    const ContentView& content_;
    VisibleRows visible_;
};

}  // namespace vestigo
