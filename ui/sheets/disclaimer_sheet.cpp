#include "ui/sheets/disclaimer_sheet.h"

#include "ui/widgets/labels.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr double textSize = 13;
constexpr int symbolSize = 18;
constexpr int symbolSpacing = 8;

}  // namespace

DisclaimerSheet::DisclaimerSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 22, .spacing = 14, .width = 540}, nullptr) {
    setObjectName(QStringLiteral("disclaimer"));
    addTitle();
    addText(tr("Vestigo finds Intel-only files and can move them to the Trash. Deleting the wrong "
               "files can break applications, or even stop macOS from working correctly.\n\n"
               "By continuing you agree that:\n"
               "•  You use this app entirely at your own risk.\n"
               "•  You are solely responsible for anything you choose to delete.\n"
               "•  The author is not liable for data loss, broken apps, an unbootable system, or "
               "any financial or time losses that result from using this app.\n"
               "•  You agree to keep a current backup, such as Time Machine, before deleting "
               "anything.\n\n"
               "Deleted items go to the Trash, not permanent erasure. You can restore them until "
               "you empty the Trash. Vestigo will not delete Apple or SIP-protected system files. "
               "Everything you choose to remove is your responsibility. Great power requires great "
               "responsibility!"),
            systemFont(textSize));
    auto& row = addRow();
    addButton(row, "quit", tr("Quit"), [&content] { content.quit(); });
    row.addStretch();
    makeDefault(addButton(row, "accept", tr("I Understand and Accept"),
                          [&content] { content.acceptDisclaimer(); }));
}

void DisclaimerSheet::addTitle() {
    const auto text = tr("Read this before using Vestigo");
    setWindowTitle(text);
    auto& row = addRow();
    row.setSpacing(symbolSpacing);
    row.addWidget(new SymbolLabel(Symbol::warningTriangleFill, Tint::orange, symbolSize, this));
    row.addWidget(new SheetText(text, titleFont(), Tint::orange,
                                innerWidth() - symbolSize - symbolSpacing, this));
}

}  // namespace vestigo
