// On a Mac, the system attaches a sheet to its window. Elsewhere a sheet is a dialog with a title
// bar, which has to follow its window by itself (`eventFilter`).
#include "ui/sheets/sheet.h"

#include <QCloseEvent>
#include <QFrame>
#include <QMoveEvent>
#include <utility>

#include "ui/widgets/action_button.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/spinner.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr double titleSize = 15;

}  // namespace

QFont titleFont() {
    return systemFont(titleSize, QFont::Bold);
}

Sheet::Sheet(QWidget* window, const Measures& measures, std::function<void()> dismiss)
    : QDialog(window),
      measures_(measures),
      dismiss_(std::move(dismiss)),
      column_(new QVBoxLayout(this)) {
#ifdef Q_OS_MACOS
    setWindowFlags(Qt::Sheet);
#else
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    setWindowFlag(Qt::WindowCloseButtonHint, static_cast<bool>(dismiss_));
    window->installEventFilter(this);
#endif
    setWindowModality(Qt::WindowModal);
    const int padding = measures.padding;
    column_->setContentsMargins(padding, padding, padding, padding);
    column_->setSpacing(measures.spacing);
    // The sheet is as large as its content, also when parts of it appear or vanish.
    column_->setSizeConstraint(QLayout::SetFixedSize);
}

void Sheet::refresh(const Changes&) {}

/// Qt calls this for Escape. It does not close the sheet: `Sheets` does, when the model says so.
void Sheet::reject() {
    if (dismiss_) dismiss_();
}

bool Sheet::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Move) {
        const auto& moved = static_cast<const QMoveEvent&>(*event);
        move(pos() + moved.pos() - moved.oldPos());
    }
    return QDialog::eventFilter(watched, event);
}

void Sheet::closeEvent(QCloseEvent* event) {
    event->ignore();
    reject();
}

SheetText& Sheet::addText(const QString& text, const QFont& font, Tint tint) {
    auto* const label = new SheetText(text, font, tint, innerWidth(), this);
    column_->addWidget(label);
    return *label;
}

QWidget& Sheet::addDivider() {
    auto* const line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    column_->addWidget(line);
    return *line;
}

QHBoxLayout& Sheet::addRow() {
    auto* const row = new QHBoxLayout;
    column_->addLayout(row);
    return *row;
}

std::vector<QWidget*> Sheet::addProgress(QHBoxLayout& row, const char* name, const QString& text) {
    auto* const spinner = new Spinner(this);
    auto* const label = new TintedLabel(Tint::secondary, this);
    label->setObjectName(QLatin1String(name));
    label->setText(text);
    row.addWidget(spinner);
    row.addWidget(label);
    return {spinner, label};
}

QPushButton& Sheet::addButton(QHBoxLayout& row, const char* name, const QString& text,
                              std::function<void()> action) {
    auto* const button = new QPushButton(text, this);
    place(*button, row, name, std::move(action));
    return *button;
}

QPushButton& Sheet::addDestructiveButton(QHBoxLayout& row, const char* name, const QString& text,
                                         std::optional<Symbol> symbol,
                                         std::function<void()> action) {
    auto* const button = new ActionButton(symbol, ButtonRole::destructive, this);
    button->setPlainText(text);
    place(*button, row, name, std::move(action));
    return *button;
}

void Sheet::place(QPushButton& button, QHBoxLayout& row, const char* name,
                  std::function<void()> action) {
    button.setObjectName(QLatin1String(name));
    // With Qt's automatic default, Return presses the focused button, which also looks the default.
    button.setAutoDefault(returnPressesFocusedButton);
    connect(&button, &QPushButton::clicked, this, std::move(action));
    row.addWidget(&button);
}

void Sheet::makeDefault(QPushButton& button) {
    button.setDefault(true);
    button.setFocus();
}

}  // namespace vestigo
