#include "cli/scan_session.h"

#include <utility>

#include "persist/csv.h"
#include "persist/scan_file_writer.h"
#include "platform/clock.h"

namespace vestigo {

/// Saves nothing. The Scanner writes its record into the store after each scan; this one encodes it
/// only when the caller asks for the text, as encoding a large scan takes time.
class ScanSession::Store : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override { return std::nullopt; }
    void writeScanFile(const ScanFile& record) override {
        if (wanted_) text_ = encodeScanFile(record);
    }
    std::optional<std::string> textOf(Scanner& scanner) {
        wanted_ = true;
        scanner.saveCache();
        return std::move(text_);
    }

private:
    bool wanted_ = false;
    std::optional<std::string> text_;
};

ScanSession::ScanSession(ScanSessionServices services, EarlierScan previous)
    : loop_(std::move(services.loop)),
      store_(std::make_shared<Store>()),
      scanner_(std::make_unique<Scanner>(ScannerServices{
          .main = loop_,
          .background = std::move(services.background),
          .reader = std::move(services.reader),
          .store = store_,
          .inspect = std::move(services.inspect),
          .migrate = {},
          .now = secondsSince2001,
          .priority = Priority::normal,
          .memory = std::move(services.memory),
      })),
      previous_(std::move(previous)) {}

ScanSession::~ScanSession() = default;

void ScanSession::run(std::vector<std::string> roots, bool rootsAreNamed, bool all,
                      const bool& interrupted) {
    scanner_->startScan(std::move(roots), rootsAreNamed, std::move(previous_));
    if (all) scanner_->setIntelOnly(false);
    loop_->runUntil([this, &interrupted] {
        if (interrupted && scanner_->scanning()) scanner_->stop();
        return !scanner_->walking() && (interrupted || scanner_->signaturePasses() == 0);
    });
}

std::string ScanSession::csv() const {
    return csvText(scanner_->groups(), scanner_->signatures());
}

std::optional<std::string> ScanSession::json() {
    return store_->textOf(*scanner_);
}

}  // namespace vestigo
