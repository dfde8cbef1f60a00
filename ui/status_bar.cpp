#include "ui/status_bar.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

#include "platform/clock.h"
#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {
namespace {

constexpr int padding = 8;
constexpr int spacing = 14;
constexpr qint64 millisecondsBetweenAnnouncements = 10000;

QDateTime localTime(double secondsSince2001) {
    // A damaged saved scan may have any date, and QDateTime cannot hold them all.
    constexpr double farPast = -6e10;
    constexpr double farFuture = 2.5e11;
    const double seconds = std::clamp(secondsSince2001, farPast, farFuture) + secondsFrom1970To2001;
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(seconds)));
}

/// Formats the user's long date without weekday and with a short month, as in "Nov 23, 2026".
QString abbreviatedDate(const QLocale& locale, QDate date) {
    static const QRegularExpression weekday(QStringLiteral(R"([\s,،]*dddd[\s,،]*)"));
    auto format = locale.dateFormat(QLocale::LongFormat);
    format.replace(weekday, QStringLiteral(" "));
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return locale.toString(date, format.trimmed());
}

/// Formats the user's short time, without the seconds that some locales have in it.
QString shortTime(const QLocale& locale, QTime time) {
    static const QRegularExpression seconds(QStringLiteral(R"([:.\s]*ss?)"));
    auto format = locale.timeFormat(QLocale::ShortFormat);
    return locale.toString(time, format.remove(seconds));
}

QString dateAndTime(double secondsSince2001) {
    const QLocale locale;
    const auto moment = localTime(secondsSince2001);
    return QStringLiteral("%1, %2").arg(abbreviatedDate(locale, moment.date()),
                                        shortTime(locale, moment.time()));
}

}  // namespace

StatusBar::StatusBar(ContentView& content, Desktop& desktop, QWidget* parent)
    : QWidget(parent),
      content_(content),
      desktop_(desktop),
      spinner_(*new Spinner(this)),
      scannedCount_(*new TintedLabel(Tint::primary, this)),
      currentPath_(*new TintedLabel(Tint::secondary, this)),
      summary_(*new TintedLabel(Tint::secondary, this)),
      lastScan_(*new TintedLabel(Tint::secondary, this)),
      hint_(*new TintedLabel(Tint::primary, this)) {
    setObjectName(QStringLiteral("status"));
    scannedCount_.setObjectName(QStringLiteral("scannedCount"));
    currentPath_.setObjectName(QStringLiteral("currentPath"));
    summary_.setObjectName(QStringLiteral("summary"));
    lastScan_.setObjectName(QStringLiteral("lastScan"));
    hint_.setObjectName(QStringLiteral("hint"));
    hint_.setElision(Qt::ElideRight);
    hint_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    currentPath_.setElision(Qt::ElideMiddle);
    currentPath_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(spacing);
    row->addWidget(&spinner_);
    row->addWidget(&scannedCount_);
    row->addWidget(&currentPath_, 1);
    row->addWidget(&summary_);
    row->addWidget(&lastScan_);
    row->addWidget(&hint_, 1);
    row->addStretch();
}

void StatusBar::refresh(const Changes& changes) {
    if (changes.has(ContentField::fontDelta)) setFont(contentFont(content_.tableFontSize()));
    if (changes.hasAny(ScannerField::scanning, ScannerField::scannedCount,
                       ScannerField::currentPath)) {
        refreshProgress();
    }
    if (changes.hasAny(ScannerField::groups, ScannerField::lastScanDate)) refreshSummary();
    if (changes.hasAny(ScannerField::scanning, ScannerField::lastScanDate)) refreshShape();
    if (changes.has(ContentField::removalHint)) refreshHint();
    announceScan(changes);
}

/// Progress is announced only now and then, as an announcement interrupts other speech.
void StatusBar::announceScan(const Changes& changes) {
    const bool scanning = content_.scanner().scanning();
    const auto announce = [this](const QString& text) {
        desktop_.announce(text.toStdString());
        sinceAnnouncement_.start();
    };
    if (changes.has(ScannerField::scanning)) {
        if (scanning) {
            announce(tr("Scanning…"));
        } else if (followsScans_) {
            announce(tr("Scan ended. %1").arg(summary_.text()));
        }
    } else if (scanning && sinceAnnouncement_.hasExpired(millisecondsBetweenAnnouncements)) {
        announce(scannedCount_.text());
    }
    // The first refresh reports all fields, also when no scan has ended.
    followsScans_ = true;
}

void StatusBar::refreshProgress() {
    const auto& scanner = content_.scanner();
    scannedCount_.setText(tr("Scanning… %1 files").arg(QString::number(scanner.scannedCount())));
    currentPath_.setText(toQString(scanner.currentPath()));
}

void StatusBar::refreshSummary() {
    summary_.setText(
        tr("%1 items · %2 Intel files")
            .arg(QString::number(content_.groupCount()), QString::number(content_.hitCount())));
    const auto date = content_.scanner().lastScanDate();
    lastScan_.setText(date ? tr("Last scan: ") + dateAndTime(*date) : QString());
}

void StatusBar::refreshHint() {
    const auto text = toQString(content_.removalHint());
    hint_.setText(text);
    hint_.setVisible(!text.isEmpty());
    if (!text.isEmpty()) desktop_.announce(content_.removalHint());
}

void StatusBar::refreshShape() {
    const bool scanning = content_.scanner().scanning();
    spinner_.setVisible(scanning);
    scannedCount_.setVisible(scanning);
    currentPath_.setVisible(scanning);
    summary_.setVisible(!scanning);
    lastScan_.setVisible(!scanning && content_.scanner().lastScanDate().has_value());
}

}  // namespace vestigo
