// Draws the cells of the results table and knows where their buttons are.
#pragma once

#include <QLineEdit>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>
#include <string>

#include "ui/model/cell_content.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// Lies over the text of a path and holds the whole of it, read-only; Copy takes what is selected.
/// Escape and the loss of the focus close it, which destroys it.
class PathSelection : public QLineEdit {
    Q_OBJECT
public:
    PathSelection(std::string root, const QFont& font, QWidget* parent);

    /// The root of the row that it belongs to.
    [[nodiscard]] const std::string& root() const { return root_; }
    /// Selects from a character on, while the mouse is drawn with the button held.
    void selectFrom(int character);
    void extendTo(int x);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    std::string root_;
    int anchor_ = 0;
};

/// The character of `text` at `x` points in its shortened form of at most `width` points.
[[nodiscard]] int characterAt(const QString& text, const QFont& font, double width, double x);

/// Between the edge of a cell, or of its header, and what is in it. In points.
inline constexpr int cellPadding = 4;

/// The cells whose button the mouse is over, or holds down. Invalid: none.
struct ButtonStates {
    QPersistentModelIndex hovered;
    QPersistentModelIndex pressed;
};

/// Where the parts of a cell are, in the view's coordinates. What the cell does not have is empty.
struct CellLayout {
    QRectF symbol;
    QRectF button;  ///< What reacts to the mouse: some more than the symbol.
    QRectF text;
};

/// For views over a `ResultsModel`.
class ResultsDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    /// Both must outlive this object.
    ResultsDelegate(const ContentView& content, const ButtonStates& buttons,
                    QObject* parent = nullptr);

    [[nodiscard]] static CellLayout layout(const CellContent& cell, const QRect& area,
                                           const QFont& font);
    /// What of a cell (`whole`, in the view's coordinates) its content is laid out in: the path's
    /// ends where the view does, so that it is shortened to what can be seen of it.
    [[nodiscard]] static QRect area(const QRect& whole, int column, const QAbstractItemView& view);
    /// A path is shortened in the middle, everything else at its end.
    [[nodiscard]] static Qt::TextElideMode elision(int column);
    /// Of a row whose text is in this font.
    [[nodiscard]] static int rowHeight(const QFont& font);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    void paintGround(QPainter& painter, const QStyleOptionViewItem& option,
                     const QModelIndex& index) const;
    void paintButtonGround(QPainter& painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index, const QRectF& button) const;

    const ContentView& content_;
    const ButtonStates& buttons_;
};

}  // namespace vestigo
