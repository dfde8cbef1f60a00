// Draws the cells of the results table and knows where their buttons are.
#pragma once

#include <QLineEdit>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>
#include <string>

#include "ui/model/cell_content.h"
#include "ui/model/content_view.h"

namespace vestigo {

/// A read-only editor that lies over the text of a path, so that the user can select and copy a
/// part of it. It closes and deletes itself at Escape and when it loses the focus.
class PathSelection : public QLineEdit {
    Q_OBJECT
public:
    PathSelection(std::string root, const QFont& font, QWidget* parent);

    /// The root of its row.
    [[nodiscard]] const std::string& root() const { return root_; }
    /// Begins a selection at this character; `extendTo` moves its other end to a place in points.
    void selectFrom(int character);
    void extendTo(int x);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    std::string root_;
    int anchor_ = 0;
};

/// Returns the index of the character of `text` at `x` points, where the text is shown shortened to
/// `width` points. Places behind the ellipsis are counted from the end of the text.
[[nodiscard]] int characterAt(const QString& text, const QFont& font, double width, double x);

/// The space between the edge of a cell or header and its content, in points.
inline constexpr int cellPadding = 4;

/// The cells whose button is under the mouse or held down. An invalid index means none.
struct ButtonStates {
    QPersistentModelIndex hovered;
    QPersistentModelIndex pressed;
};

/// The places of the parts of a cell, in the view's coordinates. A part that it lacks is empty.
struct CellLayout {
    QRectF symbol;
    QRectF button;  ///< Reacts to the mouse; a little larger than the symbol.
    QRectF text;
};

/// Works only in views of a `ResultsModel`.
class ResultsDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    /// Both must outlive this object.
    ResultsDelegate(const ContentView& content, const ButtonStates& buttons,
                    QObject* parent = nullptr);

    [[nodiscard]] static CellLayout layout(const CellContent& cell, const QRect& area,
                                           const QFont& font);
    /// The part of the cell `whole`, in the view's coordinates, that its content is laid out in. A
    /// path ends where the view ends, so that it is shortened to the visible width.
    [[nodiscard]] static QRect area(const QRect& whole, int column, const QAbstractItemView& view);
    /// A path is shortened in the middle, everything else at its end.
    [[nodiscard]] static Qt::TextElideMode elision(int column);
    /// The height of a row whose text is in this font.
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
