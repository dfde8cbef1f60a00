// Paths to look through, and to choose from, on a sheet.
#pragma once

#include <QListView>
#include <optional>
#include <string>
#include <vector>

#include "ui/model/symbol.h"

namespace vestigo {

/// What stands behind a path.
struct PathTag {
    QString text;
    Tint tint;
    friend bool operator==(const PathTag&, const PathTag&) = default;
};

struct PathLine {
    std::string path;
    std::vector<PathTag> tags = {};
    std::optional<bool> on = {};  ///< With a checkbox in front; absent: without one.
    friend bool operator==(const PathLine&, const PathLine&) = default;
};

class PathLines;

/// One line each, shortened in the middle; what does not fit is scrolled. A click anywhere in a
/// line, or Space on the current one, asks for the other state of its checkbox.
class PathList : public QListView {
    Q_OBJECT
public:
    PathList(const QSize& size, QWidget* parent = nullptr);

    /// Scroll position and current line stay where the paths are the same.
    void setLines(std::vector<PathLine> lines);
    /// Asks for the other state of a line's checkbox, where it has one.
    void toggle(const QModelIndex& line);

signals:
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
