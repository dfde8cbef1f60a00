// The base class of the sheets of a window.
#pragma once

#include <QDialog>
#include <QPushButton>
#include <QVBoxLayout>
#include <functional>
#include <optional>
#include <vector>

#include "ui/model/symbol.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

/// A modal dialog that belongs to one window. It keeps its place over the window when that is
/// moved, also by the window manager. It never closes itself: buttons, Escape and the close box
/// call the model, and `Sheets` closes the sheet when the model's field says so.
class Sheet : public QDialog {
    Q_OBJECT
public:
    /// The margin around the content, the space between its items, and the outer width. In points.
    struct Measures {
        int padding;
        int spacing;
        int width;
    };

    /// `dismiss` is called for Escape and the close box. When it is empty, neither has an effect.
    Sheet(QWidget* window, const Measures& measures, std::function<void()> dismiss);

    /// Shows the changes of the model. A sheet whose content never changes need not override it.
    virtual void refresh(const Changes& changes);

    void reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void closeEvent(QCloseEvent* event) override;

    [[nodiscard]] QVBoxLayout& column() { return *column_; }
    /// The width without the padding on both sides.
    [[nodiscard]] int innerWidth() const { return measures_.width - 2 * measures_.padding; }
    SheetText& addText(const QString& text, const QFont& font, Tint tint = Tint::primary);
    QWidget& addDivider();
    /// Adds an empty row.
    QHBoxLayout& addRow();
    QPushButton& addButton(QHBoxLayout& row, const char* name, const QString& text,
                           std::function<void()> action);
    /// Adds a button whose red label warns of what it does.
    QPushButton& addDestructiveButton(QHBoxLayout& row, const char* name, const QString& text,
                                      std::optional<Symbol> symbol, std::function<void()> action);
    /// Adds a spinner and a label. Returns both, for the sheet to show while the activity lasts.
    std::vector<QWidget*> addProgress(QHBoxLayout& row, const char* name, const QString& text);
    /// Makes Return press this button, and gives it the focus. Where another button has the focus,
    /// Return presses that one, but not on a Mac.
    static void makeDefault(QPushButton& button);

private:
    void place(QPushButton& button, QHBoxLayout& row, const char* name,
               std::function<void()> action);

    Measures measures_;
    std::function<void()> dismiss_;
    QVBoxLayout* column_;
};

/// The font for the title of a sheet.
[[nodiscard]] QFont titleFont();

}  // namespace vestigo
