// The controls keep no state of their own. Each sends a command to the window's model, and each
// refresh sets the controls to what the model says. They are connected by signals that only input
// of the user emits, so a refresh never sends a command.
#include "ui/toolbar.h"

#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <algorithm>
#include <array>
#include <utility>

#include "engine/records.h"
#include "platform/paths.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int padding = 10;
constexpr int spacing = 12;
constexpr int leastSpacing = 2;
constexpr int categoryMaximum = 170;
constexpr int fixMaximum = 140;
constexpr int sizeMaximum = 110;
constexpr int clearSymbolSize = 14;

/// The value of the choice "All"; every other choice has the value of its enum case.
constexpr int noFilter = -1;

constexpr std::array fixesInOrder = {Fix::homebrew, Fix::macports, Fix::manual, Fix::keep,
                                     Fix::apple};

template <class Enum>
std::optional<Enum> filterOf(int value) {
    if (value == noFilter) return std::nullopt;
    return static_cast<Enum>(value);
}

template <class Enum>
int valueOf(std::optional<Enum> filter) {
    return filter ? static_cast<int>(*filter) : noFilter;
}

QString counted(const QString& text, std::size_t count) {
    return QStringLiteral("%1 (%2)").arg(text, QString::number(count));
}

QString noFolderText() {
    return Toolbar::tr("Folder…");
}

/// True if this widget has the focus within its window, even while the window is inactive.
bool holdsFocus(const QWidget& widget) {
    return widget.window()->focusWidget() == &widget;
}

}  // namespace

Toolbar::Toolbar(ContentView& content, Desktop& desktop, QWidget* parent)
    : QWidget(parent),
      content_(content),
      desktop_(desktop),
      row_(*new QHBoxLayout(this)),
      scan_(*new ActionButton(Symbol::magnifier, ButtonRole::plain, this)),
      stop_(*new ActionButton(Symbol::stopFill, ButtonRole::destructive, this)),
      scope_(*new ChoiceBox(tr("Scope"), this)),
      folder_(*new ActionButton(Symbol::folder, ButtonRole::plain, this)),
      clearFolder_(*new QToolButton(this)),
      intelOnly_(*new QCheckBox(tr("Intel-only"), this)),
      categories_(*new ChoiceBox(tr("Category"), this)),
      fixes_(*new ChoiceBox(tr("Fix"), this)),
      sizes_(*new ChoiceBox(tr("Size"), this)),
      moveToTrash_(*new ActionButton(Symbol::trash, ButtonRole::destructive, this)),
      exportCsv_(*new ActionButton(Symbol::share, ButtonRole::plain, this)) {
    row_.setContentsMargins(padding, padding, padding, padding);
    row_.setSpacing(spacing);
    addScanButtons();
    addRootControls();
    addFilters();
    addSizeChoice();
    addActions();
    row_.addStretch();
    equaliseSizes();
}

void Toolbar::append(QWidget& control, const char* name) {
    control.setObjectName(QLatin1String(name));
    row_.addWidget(&control, 0, Qt::AlignVCenter);
}

void Toolbar::addScanButtons() {
    append(scan_, "scan");
    scan_.setPlainText(tr("Scan"));
    scan_.setDefault(true);
    connect(&scan_, &QPushButton::clicked, this, [this] { content_.scanPressed(); });
    append(stop_, "stop");
    stop_.setPlainText(tr("Stop"));
    connect(&stop_, &QPushButton::clicked, this, [this] { content_.scanner().stop(); });
}

void Toolbar::addRootControls() {
    append(scope_, "scope");
    for (const auto scope : {Scope::smart, Scope::deep}) {
        scope_.add(static_cast<int>(scope), toQString(label(scope)));
    }
    setPlainToolTip(scope_,
                    tr("Smart = high-signal folders (Applications, Libraries, /usr/local, /opt, "
                       "command dirs). Whole disk is slower and mostly caches."));
    connect(&scope_, &ChoiceBox::chosen, this,
            [this](int value) { content_.setScope(static_cast<Scope>(value)); });

    append(folder_, "folder");
    folder_.setLeastText(noFolderText());
    connect(&folder_, &QPushButton::clicked, this, &Toolbar::chooseFolder);

    append(clearFolder_, "clearFolder");
    clearFolder_.setAutoRaise(true);
    clearFolder_.setFocusPolicy(Qt::StrongFocus);
    clearFolder_.setIcon(symbolIcon(Symbol::crossCircleFill));
    clearFolder_.setIconSize({clearSymbolSize, clearSymbolSize});
    clearFolder_.setAccessibleName(tr("Clear folder"));
    connect(&clearFolder_, &QToolButton::clicked, this, [this] { content_.clearFolder(); });
}

void Toolbar::addFilters() {
    append(intelOnly_, "intelOnly");
    drawBoxClearly();
    setPlainToolTip(intelOnly_,
                    tr("Show only legacy binaries with no arm64 slice: Intel (x86_64/i386) and "
                       "PowerPC (ppc/ppc64)."));
    connect(&intelOnly_, &QCheckBox::clicked, this,
            [this](bool on) { content_.scanner().setIntelOnly(on); });

    append(categories_, "categoryFilter");
    categories_.setMaximumWidth(categoryMaximum);
    categories_.add(noFilter, {});
    categories_.insertSeparator(1);
    for (const auto category : allCategories) categories_.add(static_cast<int>(category), {});
    connect(&categories_, &ChoiceBox::chosen, this,
            [this](int value) { content_.setCategoryFilter(filterOf<Category>(value)); });

    append(fixes_, "fixFilter");
    fixes_.setMaximumWidth(fixMaximum);
    fixes_.add(noFilter, tr("All fixes"));
    fixes_.insertSeparator(1);
    for (const auto fix : fixesInOrder) fixes_.add(static_cast<int>(fix), {});
    setPlainToolTip(fixes_, tr("Filter by fix type, e.g. show only brew or MacPorts items. Curl or "
                               "hand-installed tools show as Manual."));
    connect(&fixes_, &ChoiceBox::chosen, this,
            [this](int value) { content_.setFixFilter(filterOf<Fix>(value)); });
}

void Toolbar::addSizeChoice() {
    auto& caption = *new TintedLabel(Tint::secondary, this);
    append(caption, "sizeLabel");
    caption.setText(tr("Size"));
    caption.setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    append(sizes_, "size");
    sizes_.setMaximumWidth(sizeMaximum);
    sizes_.add(0, tr("Small"));
    sizes_.add(4, tr("Medium"));
    sizes_.add(8, tr("Large"));
    setPlainToolTip(sizes_, tr("List text size"));
    connect(&sizes_, &ChoiceBox::chosen, this, [this](int value) { content_.setFontDelta(value); });
}

void Toolbar::addActions() {
    append(moveToTrash_, "moveToTrash");
    setPlainToolTip(
        moveToTrash_,
        tr("Move the selected deletable items to the Trash (confirmation + Touch ID)."));
    connect(&moveToTrash_, &QPushButton::clicked, this,
            [this] { content_.requestDeleteOfSelection(); });
    append(exportCsv_, "exportCsv");
    exportCsv_.setPlainText(tr("Export CSV"));
    connect(&exportCsv_, &QPushButton::clicked, this, [this] { content_.exportCSV(); });
}

/// Gives all controls one height, and Scan and Stop one width: they replace each other, and nothing
/// else may move then.
void Toolbar::equaliseSizes() {
    const auto buttons = findChildren<QPushButton*>();
    const auto choices = findChildren<ChoiceBox*>();
    int height = 0;
    for (const auto* const button : buttons) height = std::max(height, button->sizeHint().height());
    for (const auto* const choice : choices) height = std::max(height, choice->sizeHint().height());
    for (auto* const button : buttons) button->setMinimumHeight(height);
    for (auto* const choice : choices) choice->setMinimumHeight(height);
    const int width = std::max(scan_.sizeHint().width(), stop_.sizeHint().width());
    for (auto* const button : {&scan_, &stop_}) button->setFixedWidth(width);
}

/// The border that the style draws has too little contrast.
void Toolbar::drawBoxClearly() {
    const auto palette = QApplication::palette();
    intelOnly_.setPalette(checkBoxPalette(palette, colorOf(Tint::secondary, palette)));
}

void Toolbar::chooseFolder() {
    const QPointer<Toolbar> window(this);
    auto folder = desktop_.chooseFolder();
    // The window may have been closed while the panel was open.
    if (window && folder) content_.chooseFolder(std::move(*folder));
}

void Toolbar::refresh(const Changes& changes) {
    const bool shape = changes.has(ScannerField::scanning);
    const bool groups = changes.has(ScannerField::groups);
    if (shape) refreshScanButtons();
    if (shape || changes.hasAny(ContentField::customRoot, ContentField::scope)) refreshRoots();
    if (groups) refreshCounts();
    if (changes.hasAny(ScannerField::intelOnly, ContentField::categoryFilter,
                       ContentField::fixFilter, ContentField::fontDelta)) {
        refreshFilters();
    }
    if (shape || groups || changes.hasAny(ScannerField::signatures, ContentField::selection)) {
        refreshActions();
    }
}

/// The button that appears takes over the focus of the one that it replaces.
void Toolbar::refreshScanButtons() {
    const bool scanning = content_.scanner().scanning();
    auto& shownButton = scanning ? stop_ : scan_;
    auto& hiddenButton = scanning ? scan_ : stop_;
    const bool focused = holdsFocus(hiddenButton);
    shownButton.show();
    if (focused) shownButton.setFocus();
    hiddenButton.hide();
}

void Toolbar::refreshRoots() {
    const bool idle = !content_.scanner().scanning();
    const auto& root = content_.customRoot();
    scope_.setValue(static_cast<int>(content_.scope()));
    scope_.setEnabled(idle && !root);
    folder_.setPlainText(root ? toQString(lastComponent(*root)) : noFolderText());
    folder_.setAccessibleDescription(root ? toQString(*root) : QString());
    folder_.setEnabled(idle);
    clearFolder_.setEnabled(idle);
    if (!root && holdsFocus(clearFolder_)) folder_.setFocus();
    clearFolder_.setVisible(root.has_value());
}

void Toolbar::refreshFilters() {
    intelOnly_.setChecked(content_.scanner().intelOnly());
    categories_.setValue(valueOf(content_.categoryFilter()));
    fixes_.setValue(valueOf(content_.fixFilter()));
    sizes_.setValue(content_.fontDelta());
}

void Toolbar::refreshCounts() {
    categories_.setText(noFilter, counted(tr("All"), content_.groupCount()));
    for (const auto category : allCategories) {
        categories_.setText(static_cast<int>(category),
                            counted(toQString(label(category)), content_.categoryCount(category)));
    }
    for (const auto fix : fixesInOrder) {
        fixes_.setText(static_cast<int>(fix),
                       counted(toQString(label(fix)), content_.fixCount(fix)));
    }
}

void Toolbar::refreshActions() {
    const bool idle = !content_.scanner().scanning();
    const auto count = content_.deletableSelection().size();
    moveToTrash_.setPlainText(count > 0 ? counted(tr("Move to Trash"), count)
                                        : tr("Move to Trash"));
    moveToTrash_.setEnabled(idle && count > 0);
    exportCsv_.setEnabled(idle && content_.groupCount() > 0);
}

bool Toolbar::event(QEvent* event) {
    const bool moves = event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize;
    if (moves) distributeWidth();
    return QWidget::event(event);
}

/// In a narrow window the gaps shrink first, then the folder's name. If that is not enough, the
/// layout shrinks the choices to the width of their current text.
void Toolbar::distributeWidth() {
    const int folder = folder_.sizeHint().width();
    int wanted = 2 * padding;
    int gaps = -1;
    for (int i = 0; i < row_.count(); ++i) {
        auto& item = *row_.itemAt(i);
        if (!item.widget() || item.isEmpty()) continue;
        wanted += item.widget() == &folder_ ? folder : item.sizeHint().width();
        ++gaps;
    }
    const int gap = std::clamp((width() - wanted) / std::max(gaps, 1), leastSpacing, spacing);
    const int missing = std::max(0, wanted + gaps * gap - width());
    if (gap != row_.spacing()) row_.setSpacing(gap);
    folder_.setMaximumWidth(std::max(folder - missing, folder_.minimumSizeHint().width()));
}

void Toolbar::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        clearFolder_.setIcon(symbolIcon(Symbol::crossCircleFill));
        drawBoxClearly();
    }
}

}  // namespace vestigo
