#include "ui/sheets/sheets.h"

#include <utility>

#include "ui/sheets/about_sheet.h"
#include "ui/sheets/alert_sheet.h"
#include "ui/sheets/delete_sheet.h"
#include "ui/sheets/disclaimer_sheet.h"
#include "ui/sheets/help_sheet.h"
#include "ui/sheets/inspect_sheet.h"
#include "ui/sheets/reinstall_sheet.h"

namespace vestigo {

Sheets::Sheets(ContentView& content, QWidget* window, std::string version, QObject* parent)
    : QObject(parent) {
    // When several open in one turn, the last one in this list is on top.
    kinds_ = {
        {[&content] { return content.showDeleteConfirm(); },
         [&content, window] { return new DeleteSheet(content, window); }, nullptr},
        {[&content] { return content.updateTarget().has_value(); },
         [&content, window] { return new ReinstallSheet(content, window); }, nullptr},
        {[&content] { return content.inspectGroup().has_value(); },
         [&content, window] { return new InspectSheet(content, window); }, nullptr},
        {[&content] { return content.showHelp(); },
         [&content, window] { return new HelpSheet(content, window); }, nullptr},
        {[&content] { return content.showAbout(); },
         [&content, window, version = std::move(version)] {
             return new AboutSheet(content, version, window);
         },
         nullptr},
        {[&content] { return content.alert().has_value(); },
         [&content, window] { return new AlertSheet(content, window); }, nullptr},
        {[&content] { return content.showDisclaimer(); },
         [&content, window] { return new DisclaimerSheet(content, window); }, nullptr},
    };
}

Sheets::~Sheets() {
    for (auto& kind : kinds_) delete kind.open;
}

void Sheets::refresh(const Changes& changes) {
    for (auto& kind : kinds_) {
        if (!kind.wanted()) {
            if (kind.open) {
                // This may run within an event of the sheet itself, so it is deleted later.
                kind.open->hide();
                kind.open->deleteLater();
                kind.open = nullptr;
            }
        } else if (!kind.open) {
            kind.open = kind.make();
            // While a sheet is open, the window's own shortcuts are blocked.
            kind.open->addActions(kind.open->parentWidget()->actions());
            kind.open->open();
        } else {
            kind.open->refresh(changes);
        }
    }
}

}  // namespace vestigo
