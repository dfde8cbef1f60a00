#include "ui/main_window.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QToolButton>
#include <algorithm>
#include <utility>

#include "ui/stray_input.h"
#include "ui/table/accessible_table.h"
#include "ui/widgets/accessible_paths.h"
#include "ui/widgets/action_button.h"

namespace vestigo {
namespace {

constexpr QSize leastContent(880, 540);
constexpr int firstHeight = 800;

QWidget* divider(QWidget* parent) {
    auto* const line = new QWidget(parent);
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    line->setBackgroundRole(QPalette::Mid);
    return line;
}

/// Returns the focused push button or tool button; null when another kind of widget has the focus.
QAbstractButton* focusedButton(const QWidget& window) {
    auto* const focused = window.focusWidget();
    const bool pressable =
        qobject_cast<QPushButton*>(focused) || qobject_cast<QToolButton*>(focused);
    return pressable ? static_cast<QAbstractButton*>(focused) : nullptr;
}

}  // namespace

MainWindow::AccessibleWidgets::AccessibleWidgets() {
    makeResultsAccessible();
    makePathsAccessible();
}

MainWindow::MainWindow(ContentServices services, std::string version, QWidget* parent)
    : QMainWindow(parent),
      desktop_(services.desktop),
      content_(std::move(services)),
      refresher_(content_, this),
      toolbar_(*new Toolbar(content_, *desktop_, &stack_)),
      results_(*new ResultsView(content_, &stack_)),
      status_(*new StatusBar(content_, *desktop_, &stack_)),
      sheets_(content_, this, std::move(version)) {
    StrayInputFilter::install();
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Vestigo"));
    stack();
    sizeToScreen();
    connect(&refresher_, &Refresher::changed, this, &MainWindow::refresh);
    refresh(Changes::everything());
    results_.setFocus();
}

MainWindow::~MainWindow() = default;

void MainWindow::stack() {
    auto* const column = new QVBoxLayout(&stack_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(&toolbar_);
    column->addWidget(divider(&stack_));
    column->addWidget(&results_, 1);
    column->addWidget(divider(&stack_));
    column->addWidget(&status_);
    stack_.setMinimumSize(leastContent);
    setCentralWidget(&stack_);
}

/// Opens the window wide enough for all columns and most paths, if the screen allows it.
void MainWindow::sizeToScreen() {
    const QSize wanted(std::max(results_.roomyWidth(), leastContent.width()), firstHeight);
    resize(wanted.boundedTo(screen()->availableSize()));
}

void MainWindow::refresh(const Changes& changes) {
    toolbar_.refresh(changes);
    results_.refresh(changes);
    status_.refresh(changes);
    sheets_.refresh(changes);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (event->isAccepted()) emit closed();
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    // A spontaneous event means that a minimised window is shown again.
    if (!event->spontaneous()) content_.windowAppeared();
}

// A shortcut would also take Return from pop-ups and sheets. Here only those key presses arrive
// that no widget of this window has handled.
void MainWindow::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (!isReturn || !plain) return QMainWindow::keyPressEvent(event);
    if (auto* const button = focusedButton(*this); button && returnPressesFocusedButton) {
        button->click();
    } else {
        content_.scanPressed();
    }
}

}  // namespace vestigo
