// The rows of the results table, for Qt's views.
#pragma once

#include <QAbstractTableModel>
#include <optional>
#include <string_view>

#include "ui/model/cell_content.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// One row a group, in the order of `ContentView::visibleRows`. Keeps no text: cells are made when
/// they are asked for.
class ResultsModel : public QAbstractTableModel {
    Q_OBJECT
public:
    /// `content` must outlive this object. Shows its rows at once.
    explicit ResultsModel(const ContentView& content, QObject* parent = nullptr);

    /// Takes the rows as they are now. Persistent indexes follow their group's root. False when the
    /// same groups stand in the same order.
    bool refresh();

    [[nodiscard]] const BundleGroup& group(int row) const {
        return *visible_.rows[static_cast<std::size_t>(row)];
    }
    /// Looks at every row.
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
