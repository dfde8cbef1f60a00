#include "ui/sheets/about_sheet.h"

#include <QLabel>

#include "ui/widgets/symbols.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int iconSide = 196;
constexpr int roomAboveClose = 4;

}  // namespace

AboutSheet::AboutSheet(ContentView& content, const std::string& version, QWidget* window)
    : Sheet(window, {.padding = 28, .spacing = 14, .width = 480},
            [&content] { content.closeAbout(); }) {
    setObjectName(QStringLiteral("about"));
    setWindowTitle(tr("About Vestigo"));
    addIcon();
    addCentred(QStringLiteral("Vestigo"), systemFont(24, QFont::Bold));
    addCentred(tr("Version %1").arg(version.empty() ? QStringLiteral("1.0") : toQString(version)),
               systemFont(14));
    addDivider();
    addCentred(tr("For experienced users."), systemFont(16, QFont::DemiBold), Tint::orange);
    addCentred(tr("Vestigo can permanently change your system by deleting files. It is your "
                  "responsibility to understand what you remove. The author is not responsible for "
                  "any damage, data loss, an unbootable system, or economic and time losses caused "
                  "by misuse, or by deleting files you do not understand. Always keep a current "
                  "backup."),
               systemFont(14));
    addCentred(tr("Using this app means you accept these terms and understand the responsibility "
                  "of its use."),
               systemFont(14, QFont::DemiBold));
    auto& row = addRow();
    row.setContentsMargins(0, roomAboveClose, 0, 0);
    row.addStretch();
    makeDefault(addButton(row, "close", tr("Close"), [&content] { content.closeAbout(); }));
    row.addStretch();
}

void AboutSheet::addIcon() {
    const auto icon = applicationIcon();
    if (icon.isNull()) return;
    auto* const picture = new QLabel(this);
    const auto ratio = devicePixelRatioF();
    auto pixmap = icon.pixmap(QSize(iconSide, iconSide), ratio);
    // The picture may have fewer pixels than asked for; it is then drawn larger.
    pixmap.setDevicePixelRatio(pixmap.width() / static_cast<qreal>(iconSide));
    picture->setPixmap(pixmap);
    picture->setFixedSize(iconSide, iconSide);
    picture->setAccessibleName(tr("Application icon"));
    column().addWidget(picture, 0, Qt::AlignHCenter);
}

void AboutSheet::addCentred(const QString& text, const QFont& font, Tint tint) {
    addText(text, font, tint).setAlignment(Qt::AlignHCenter);
}

}  // namespace vestigo
