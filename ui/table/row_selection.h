// Connects the selection of the results table with that of the window's model.
#pragma once

#include <QItemSelectionModel>

#include "platform/paths.h"
#include "ui/model/content_view.h"
#include "ui/table/results_model.h"

namespace vestigo {

/// Keeps the current cell as Qt does, but stores the selection as roots in `ContentView`. Hidden
/// rows therefore stay selected, and a change of rows has nothing to restore. Qt's own list of
/// selected ranges stays empty.
class RowSelection : public QItemSelectionModel {
    Q_OBJECT
public:
    RowSelection(ContentView& content, ResultsModel& rows, QObject* parent = nullptr);

    using QItemSelectionModel::select;
    void select(const QItemSelection& selection, SelectionFlags command) override;

private:
    void changedElsewhere();

    ContentView& content_;
    ResultsModel& rows_;
    RootSet before_;          ///< The selection before the user began the present range.
    bool selecting_ = false;  ///< The change of the model comes from here.
    Subscription subscription_;
};

}  // namespace vestigo
