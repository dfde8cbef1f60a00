// vestigo-demo: the headless program at work on a made-up Mac disk, for machines without a real
// one.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "app/demo_disk.h"
#include "app/demo_tree.h"
#include "app/scan_session.h"
#include "engine/scan_rules.h"
#include "persist/signature_inspector.h"
#include "platform/interrupt.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_tasks.h"

namespace vestigo {
namespace {

/// A new private folder, removed at the end.
class Sandbox {
public:
    Sandbox() {
        std::error_code error;
        auto path = (std::filesystem::temp_directory_path(error) / "vestigo-demo-XXXXXX").string();
        if (!error && mkdtemp(path.data()) != nullptr) path_ = path;
    }
    ~Sandbox() {
        std::error_code error;
        if (path_) std::filesystem::remove_all(*path_, error);
    }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    /// Absent when it could not be made.
    [[nodiscard]] const std::optional<std::string>& path() const { return path_; }

private:
    std::optional<std::string> path_;
};

ScanSessionServices servicesFor(const std::string& disk, std::shared_ptr<RunLoop> loop) {
    const auto signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk);
    ScanSessionServices services;
    services.loop = std::move(loop);
    services.background = std::make_shared<LinuxTasks>();
    services.reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk);
    services.inspect = [signing](const std::string& root) {
        return inspectSignature(*signing, root);
    };
    return services;
}

int demonstrate() {
    const Sandbox sandbox;
    if (!sandbox.path() || !makeDemoTree(*sandbox.path())) {
        std::perror("vestigo-demo: cannot make the demonstration disk");
        return 1;
    }
    std::fprintf(stderr,
                 "A made-up Mac disk in %s stands for \"/\"; nothing of yours is touched.\n",
                 sandbox.path()->c_str());
    const auto loop = std::make_shared<RunLoop>();
    const auto interrupted = std::make_shared<bool>(false);
    watchForInterrupt([loop, interrupted] {
        loop->post([interrupted] { *interrupted = true; });
        return true;
    });
    ScanSession session(servicesFor(*sandbox.path(), loop), std::nullopt);
    session.run(scanRoots(std::nullopt, Scope::smart, demoHome), false, *interrupted);
    const auto text = session.csv();
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!written) return 1;
    return *interrupted ? 130 : 0;
}

}  // namespace
}  // namespace vestigo

int main() {
    return vestigo::demonstrate();
}
