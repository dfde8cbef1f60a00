// What the sheets of a window have in common.
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

/// Belongs to a window and blocks it. It opens over it and keeps its place there when the window
/// moves, also when the window manager moves a new window. It never closes by itself: what the user
/// does calls the model, and the model's field decides.
class Sheet : public QDialog {
    Q_OBJECT
public:
    /// Points around the content, between its items, and from edge to edge.
    struct Measures {
        int padding;
        int spacing;
        int width;
    };

    /// `dismiss` is called for Escape and for the close box; empty: there is no such way out.
    Sheet(QWidget* window, const Measures& measures, std::function<void()> dismiss);

    /// For sheets whose content changes while they are open.
    virtual void refresh(const Changes& changes);

    void reject() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void closeEvent(QCloseEvent* event) override;

    [[nodiscard]] QVBoxLayout& column() { return *column_; }
    /// Within the padding.
    [[nodiscard]] int innerWidth() const { return measures_.width - 2 * measures_.padding; }
    SheetText& addText(const QString& text, const QFont& font, Tint tint = Tint::primary);
    QWidget& addDivider();
    /// A row with nothing in it.
    QHBoxLayout& addRow();
    QPushButton& addButton(QHBoxLayout& row, const char* name, const QString& text,
                           std::function<void()> action);
    /// Warns by its colour.
    QPushButton& addDestructiveButton(QHBoxLayout& row, const char* name, const QString& text,
                                      std::optional<Symbol> symbol, std::function<void()> action);
    /// A spinner and what it stands for; the parts, for the sheet to show while that goes on.
    std::vector<QWidget*> addProgress(QHBoxLayout& row, const char* name, const QString& text);
    /// The one that Return presses from anywhere but another button (on a Mac, also from there).
    static void makeDefault(QPushButton& button);

private:
    void place(QPushButton& button, QHBoxLayout& row, const char* name,
               std::function<void()> action);

    Measures measures_;
    std::function<void()> dismiss_;
    QVBoxLayout* column_;
};

/// The platform's style for the title of a sheet.
[[nodiscard]] QFont titleFont();

}  // namespace vestigo
