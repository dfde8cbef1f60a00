// All parts of the sheet are made at once and are shown as the reinstall proceeds: the log when
// there is output, the spinner while Homebrew runs, the button for the old copy after a success.
#include "ui/sheets/reinstall_sheet.h"

#include <QApplication>
#include <QEvent>

#include "ui/widgets/action_button.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr double bodySize = 13;
constexpr double calloutSize = 12;
constexpr double monospacedSize = 11;
constexpr double captionSize = 10;
constexpr int commandPadding = 8;
constexpr double commandGroundShare = 0.06;
constexpr int logHeight = 200;

/// A box that holds one command, which the user can select and copy.
class CommandBox : public QLabel {
public:
    CommandBox(int width, QWidget* parent) : QLabel(parent) {
        setTextFormat(Qt::PlainText);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setWordWrap(true);
        setFont(monospacedFont(monospacedSize));
        setMargin(commandPadding);
        setFixedWidth(width);
        setAutoFillBackground(true);
        setBackgroundRole(QPalette::Base);
        applyGround();
    }

protected:
    void changeEvent(QEvent* event) override {
        QLabel::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) applyGround();
    }

private:
    void applyGround() { setPalette(tintedGround(QApplication::palette(), commandGroundShare)); }
};

}  // namespace

ReinstallSheet::ReinstallSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 20, .spacing = 12, .width = 560},
            [&content] { content.closeReinstall(); }),
      content_(content) {
    setObjectName(QStringLiteral("reinstall"));
    addTexts();
    addCommand();
    addLog();
    addText(tr("Reinstalls into /opt/homebrew. The old Intel copy in /usr/local stays until "
               "removed. Use the button below after a successful install."),
            systemFont(captionSize), Tint::secondary);
    addRemoval();
    addButtons();
    showTarget();
    showLog();
    showProgress();
    showRemoval();
}

void ReinstallSheet::addTexts() {
    const auto title = tr("Reinstall as Apple Silicon");
    setWindowTitle(title);
    addText(title, titleFont());
    addText(tr("Homebrew will fetch and install the native arm64 build of:"), systemFont(bodySize),
            Tint::secondary);
    formula_ = &addText({}, monospacedFont(bodySize, QFont::Bold));
    formula_->setObjectName(QStringLiteral("formula"));
}

void ReinstallSheet::addCommand() {
    addText(tr("Command"), systemFont(captionSize), Tint::secondary);
    command_ = new CommandBox(innerWidth(), this);
    command_->setObjectName(QStringLiteral("command"));
    command_->setAccessibleDescription(tr("Command"));
    column().addWidget(command_);
}

void ReinstallSheet::addLog() {
    log_ = new LogView(content_.updateLog(), this);
    log_->setObjectName(QStringLiteral("log"));
    log_->setAccessibleName(tr("Log"));
    log_->setFixedSize(innerWidth(), logHeight);
    column().addWidget(log_);
}

void ReinstallSheet::addRemoval() {
    auto& divider = addDivider();
    auto& success = addText(tr("arm64 installed ✓  Reclaim space by removing the old Intel build:"),
                            systemFont(calloutSize), Tint::green);
    oldCopy_ = new TintedLabel(Tint::primary, this);
    oldCopy_->setObjectName(QStringLiteral("oldCopy"));
    oldCopy_->setFont(monospacedFont(monospacedSize));
    oldCopy_->setElision(Qt::ElideMiddle);
    oldCopy_->setFixedWidth(innerWidth());
    column().addWidget(oldCopy_);
    auto& row = addRow();
    auto& remove = addDestructiveButton(row, "removeOldCopy", tr("Move old Intel copy to Trash"),
                                        Symbol::trash, [this] { content_.confirmRemoveOldCopy(); });
    row.addStretch();
    removal_ = {&divider, &success, oldCopy_, &remove};
}

void ReinstallSheet::addButtons() {
    auto& row = addRow();
    progress_ = addProgress(row, "running", tr("Running…"));
    row.addStretch();
    addButton(row, "close", tr("Close"), [this] { content_.closeReinstall(); });
    run_ = &addButton(row, "run", tr("Run"), [this] { content_.startReinstall(); });
    makeDefault(*run_);
}

void ReinstallSheet::refresh(const Changes& changes) {
    if (changes.has(ContentField::updateTarget)) showTarget();
    if (changes.has(ContentField::updateLog)) showLog();
    if (changes.has(ContentField::updating)) showProgress();
    if (changes.hasAny(ContentField::updateTarget, ContentField::updatedIDs)) showRemoval();
}

void ReinstallSheet::showTarget() {
    const auto formula = toQString(content_.updateFormula());
    formula_->setText(formula);
    command_->setText(QStringLiteral("arch -arm64 /opt/homebrew/bin/brew reinstall ") + formula);
}

void ReinstallSheet::showLog() {
    log_->setVisible(!content_.updateLog().empty());
    log_->refresh();
}

void ReinstallSheet::showProgress() {
    for (auto* const part : progress_) part->setVisible(content_.updating());
    // A button that is disabled passes its focus on, here to "Close"; a second Return would press
    // it.
    if (content_.updating() && run_->hasFocus()) log_->setFocus();
    run_->setEnabled(!content_.updating());
}

void ReinstallSheet::showRemoval() {
    const auto oldCopy = content_.removableOldCopy();
    oldCopy_->setText(toQString(oldCopy.value_or("")));
    setPlainToolTip(*oldCopy_, oldCopy_->text());
    for (auto* const part : removal_) part->setVisible(oldCopy.has_value());
}

}  // namespace vestigo
