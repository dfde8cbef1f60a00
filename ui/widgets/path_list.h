// A list of paths on a sheet, with optional check boxes and tags.
#pragma once

#include <QListView>
#include <optional>
#include <string>
#include <vector>

#include "ui/model/symbol.h"

namespace vestigo {

/// A short coloured word behind a path.
struct PathTag {
    QString text;
    Tint tint;
    friend bool operator==(const PathTag&, const PathTag&) = default;
};

struct PathLine {
    std::string path;
    std::vector<PathTag> tags = {};
    std::optional<bool> on = {};  ///< The state of the check box; absent when there is none.
    friend bool operator==(const PathLine&, const PathLine&) = default;
};

class PathLines;

/// Shows each path on one line, shortened in the middle. A click anywhere in a line, or Space on
/// the current line, emits `toggled` if the line has a check box.
class PathList : public QListView {
    Q_OBJECT
public:
    PathList(const QSize& size, QWidget* parent = nullptr);

    /// Keeps scroll position and current line if the paths are the same as before.
    void setLines(std::vector<PathLine> lines);
    /// Emits `toggled` for this line if it has a check box.
    void toggle(const QModelIndex& line);

signals:
    /// The user wants the check box of this path to be `on`. The list shows that only after
    /// `setLines`.
    void toggled(const std::string& path, bool on);

protected:
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void dataChanged(const QModelIndex& first, const QModelIndex& last,
                     const QList<int>& roles) override;

private:
    PathLines& lines_;
};

}  // namespace vestigo
