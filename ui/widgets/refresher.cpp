#include "ui/widgets/refresher.h"

#include <algorithm>
#include <utility>

namespace vestigo {

namespace {

constexpr int millisecondsBetweenRedraws = 200;

/// True for fields that change many times a second while a scan or signature pass runs.
bool isStream(ScannerField field) {
    switch (field) {
        case ScannerField::allHits:
        case ScannerField::groups:
        case ScannerField::signatures:
        case ScannerField::scannedCount:
        case ScannerField::currentPath: return true;
        case ScannerField::scanning:
        case ScannerField::lastScanDate:
        case ScannerField::lastRoots:
        case ScannerField::intelOnly: return false;
    }
    return false;
}

}  // namespace

Refresher::Refresher(ContentView& content, QObject* parent) : QObject(parent), content_(content) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &Refresher::flush);
    contentSubscription_ = content.subscribe([this](ContentField field) { note(field); });
    scannerSubscription_ = content.scanner().subscribe([this](ScannerField field) { note(field); });
}

void Refresher::note(ContentField field) {
    changes_.add(field);
    flushWithin(0);
}

void Refresher::note(ScannerField field) {
    changes_.add(field);
    const auto waited = sinceFlush_.isValid() ? sinceFlush_.elapsed() : millisecondsBetweenRedraws;
    const auto wait = std::max<qint64>(0, millisecondsBetweenRedraws - waited);
    flushWithin(isStream(field) ? static_cast<int>(wait) : 0);
}

void Refresher::flushWithin(int milliseconds) {
    if (!timer_.isActive() || timer_.remainingTime() > milliseconds) timer_.start(milliseconds);
}

void Refresher::flush() {
    timer_.stop();
    emit changed(std::exchange(changes_, Changes()));
    // The pause begins after the redraw, so that slow redraws leave time for input.
    sinceFlush_.start();
}

}  // namespace vestigo
