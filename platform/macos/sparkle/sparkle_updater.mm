#include <Sparkle/Sparkle.h>

#include "platform/updater.h"

namespace vestigo {
namespace {

class SparkleUpdater : public Updater {
public:
    void checkForUpdates() override { [controller_ checkForUpdates:nil]; }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override {
        return controller_.updater.automaticallyChecksForUpdates;
    }
    void setAutomaticallyChecksForUpdates(bool value) override {
        controller_.updater.automaticallyChecksForUpdates = value;
    }

private:
    SPUStandardUpdaterController* const controller_ =
        [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                      updaterDelegate:nil
                                                   userDriverDelegate:nil];
};

}  // namespace

std::unique_ptr<Updater> sparkleUpdater() {
    return std::make_unique<SparkleUpdater>();
}

}  // namespace vestigo
