#include "ui/sheets/help_sheet.h"

#include <QStyle>
#include <array>
#include <string_view>

#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int pagesHeight = 460;
constexpr int paragraphSpacing = 8;
constexpr int roomAboveHeading = 6;
constexpr int roomBelowTitle = 4;
constexpr int roomAboveClose = 8;

enum class Style { lead, heading, paragraph };

struct Paragraph {
    Style style;
    std::string_view text;  ///< Text between pairs of asterisks is bold, as in "**arm64**".
};

constexpr std::array paragraphs{
    Paragraph{Style::lead,
              "Vestigo finds programs built for old CPU types that don't run natively on Apple "
              "Silicon. It helps you update or remove them."},
    Paragraph{Style::heading, "The architectures"},
    Paragraph{Style::paragraph,
              "**arm64**: Apple Silicon native. This is good, and it is not flagged."},
    Paragraph{Style::paragraph,
              "**x86_64**: 64-bit Intel. It runs only through Rosetta 2 translation. Apple is "
              "removing Rosetta in macOS 28 (2027). After that, Intel-only apps will not launch."},
    Paragraph{Style::paragraph,
              "**i386**: 32-bit Intel. Apple dropped 32-bit support in macOS Catalina (2019). This "
              "code already runs on nothing current."},
    Paragraph{Style::paragraph,
              "**ppc / ppc64**: PowerPC, from Macs made before 2006. It stopped working when "
              "Rosetta 1 was removed around 2011. Apple Silicon has no PowerPC support at all. "
              "These are shown in purple."},
    Paragraph{Style::heading, "Why is this old code on my Mac?"},
    Paragraph{Style::paragraph,
              "Vendors ship “universal” binaries that bundle several CPU versions, so one download "
              "runs everywhere. Many never strip the obsolete versions. As a result, recent apps "
              "still carry PowerPC or 32-bit Intel code that has not run in over a decade. It is "
              "dead weight that wastes disk space. Printer drivers from Epson, Canon, and HP are "
              "common offenders."},
    Paragraph{Style::heading, "The Fix column"},
    Paragraph{Style::paragraph,
              "**brew / MacPorts**: installed by a package manager. Click the green arrow to "
              "reinstall the native arm64 build, then remove the old Intel copy."},
    Paragraph{Style::paragraph,
              "**Manual**: delete it, or get an arm64 version from the vendor. It is safe to trash "
              "if you do not need it."},
    Paragraph{
        Style::paragraph,
        "**Keep**: the bundle also has an arm64 build, so it runs fine. The Intel or PPC part "
        "is dormant. It is often copy protection such as PACE or iLok. Do not delete it."},
    Paragraph{Style::paragraph,
              "**Apple**: a macOS system component. Leave it alone. It is already arm64."},
    Paragraph{Style::heading, "What cannot, and should not, be removed"},
    Paragraph{
        Style::paragraph,
        "**Protected (SIP)** files are guarded by System Integrity Protection. macOS will not "
        "let any app delete them, and you should not try."},
    Paragraph{Style::paragraph,
              "**Keep** items run fine on your Mac. Deleting them breaks a working app or plugin, "
              "and can break copy protection, for no benefit."},
    Paragraph{Style::paragraph,
              "Vestigo never edits binaries. Removing slices to make an app arm-only breaks its "
              "code signature. That stops signed apps and drivers from working, and you cannot "
              "re-sign another company's software. So the tool only deletes whole obsolete files. "
              "Everything goes to the Trash and can be restored."},
    Paragraph{Style::heading, "Tell the vendor"},
    Paragraph{Style::paragraph,
              "If a current app still ships PowerPC or 32-bit Intel code, the vendor has not "
              "cleaned up after themselves. A polite note asking for an arm64-native build helps "
              "everyone. Downloads get smaller, and the app is ready for the end of Rosetta."},
};

SheetText* textOf(const Paragraph& paragraph, int width) {
    const bool heading = paragraph.style == Style::heading;
    const auto tint = paragraph.style == Style::lead ? Tint::secondary : Tint::primary;
    auto* const text =
        new SheetText({}, heading ? systemFont(14, QFont::DemiBold) : systemFont(13), tint, width);
    text->setEmphasised(paragraph.text);
    if (heading) text->setContentsMargins(0, roomAboveHeading, 0, 0);
    return text;
}

}  // namespace

HelpSheet::HelpSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 22, .spacing = 0, .width = 560},
            [&content] { content.closeHelp(); }) {
    setObjectName(QStringLiteral("help"));
    setWindowTitle(tr("Vestigo Help"));
    addText(tr("Vestigo Help"), titleFont()).setContentsMargins(0, 0, 0, roomBelowTitle);
    auto& pages = addPages();
    auto& row = addRow();
    row.setContentsMargins(0, roomAboveClose, 0, 0);
    makeDefault(addButton(row, "close", tr("Close"), [&content] { content.closeHelp(); }));
    row.addStretch();
    pages.setFocus();  // The arrow keys then scroll, and Return still presses the default button.
}

QScrollArea& HelpSheet::addPages() {
    auto* const area = new QScrollArea(this);
    area->setObjectName(QStringLiteral("pages"));
    area->setAccessibleName(tr("Help text"));
    area->setFrameShape(QFrame::NoFrame);
    area->setFixedSize(innerWidth(), pagesHeight);
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* const pages = new QWidget;
    auto* const text = new QVBoxLayout(pages);
    const int barWidth = area->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + paragraphSpacing;
    text->setContentsMargins(0, 0, 0, 0);
    text->setSpacing(paragraphSpacing);
    text->setSizeConstraint(QLayout::SetFixedSize);
    for (const auto& paragraph : paragraphs) {
        text->addWidget(textOf(paragraph, innerWidth() - barWidth));
    }
    area->setWidget(pages);
    column().addWidget(area);
    return *area;
}

}  // namespace vestigo
