// The selection of the results table, kept where it belongs: with the window's model.
#pragma once

#include <QItemSelectionModel>

#include "platform/paths.h"
#include "ui/model/content_view.h"
#include "ui/table/results_model.h"

namespace vestigo {

/// Qt's view moves the current cell in here and asks for rows to be selected; what is selected are
/// the roots in `ContentView`, so rows that a filter hides stay selected and a redraw has nothing
/// to restore. Qt's own list of ranges stays empty.
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
    RootSet before_;  ///< The selection when the range that is being drawn was begun.
    bool selecting_ = false;
    Subscription subscription_;
};

}  // namespace vestigo
