#include "platform/qt/update_dialog.h"

#include <QApplication>
#include <QBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

namespace vestigo {
namespace {

constexpr int padding = 22;
constexpr int spacing = 12;
constexpr int textWidth = 420;
constexpr int notesHeight = 200;

QLabel* plainText(const QString& text) {
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    return label;
}

QPushButton* button(const char* name, const QString& text) {
    auto* const made = new QPushButton(text);
    made->setObjectName(QLatin1String(name));
    return made;
}

/// Title and text; buttons come below.
QDialog* dialogSaying(const QString& title, const QString& text) {
    auto* const dialog = new QDialog(QApplication::activeWindow());
    dialog->setObjectName(QStringLiteral("updateDialog"));
    dialog->setWindowTitle(QObject::tr("Software Update"));
    auto* const column = new QVBoxLayout(dialog);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    column->setSizeConstraint(QLayout::SetFixedSize);
    auto* const heading = plainText(title);
    auto font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    column->addWidget(heading);
    column->addWidget(plainText(text));
    return dialog;
}

void addButtons(QDialog& dialog, const QList<QPushButton*>& buttons) {
    auto* const row = new QHBoxLayout;
    row->addStretch();
    for (auto* const each : buttons) row->addWidget(each);
    static_cast<QVBoxLayout*>(dialog.layout())->addLayout(row);
    buttons.last()->setDefault(true);
    buttons.last()->setFocus();
}

QDialog* withOk(QDialog* dialog) {
    auto* const ok = button("ok", QObject::tr("OK"));
    QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    addButtons(*dialog, {ok});
    return dialog;
}

}  // namespace

QDialog* upToDateDialog(const QString& version) {
    return withOk(dialogSaying(QObject::tr("You’re up to date"),
                               QObject::tr("Vestigo %1 is the newest version.").arg(version)));
}

QDialog* updateFailureDialog(const QString& reason) {
    return withOk(dialogSaying(QObject::tr("Could not look for updates"), reason));
}

QDialog* newerVersionDialog(const AppcastItem& newest, const QString& version,
                            const std::function<void(const QUrl&)>& openPage) {
    auto* const dialog = dialogSaying(
        QObject::tr("A newer version is available"),
        QObject::tr("Vestigo %1 can be downloaded; this is %2.").arg(newest.version, version));
    if (!newest.notes.isEmpty()) {
        auto* const notes = new QPlainTextEdit(newest.notes);
        notes->setObjectName(QStringLiteral("notes"));
        notes->setAccessibleName(QObject::tr("Release notes"));
        notes->setReadOnly(true);
        notes->setFixedHeight(notesHeight);
        dialog->layout()->addWidget(notes);
    }
    auto* const later = button("later", QObject::tr("Later"));
    auto* const open = button("openPage", QObject::tr("Open Download Page"));
    QObject::connect(later, &QPushButton::clicked, dialog, &QDialog::reject);
    QObject::connect(open, &QPushButton::clicked, dialog, [dialog, openPage, page = newest.page] {
        openPage(page);
        dialog->accept();
    });
    addButtons(*dialog, {later, open});
    return dialog;
}

}  // namespace vestigo
