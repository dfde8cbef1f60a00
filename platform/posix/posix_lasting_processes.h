// Starts programs that outlive this one, and takes them over again.
#pragma once

#include <memory>

#include "platform/lasting_processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// Chunks are at most 64 KiB and consist of whole lines, unless a line is longer or not complete
/// yet. Processes that a program leaves running are not waited for.
class PosixLastingProcesses : public LastingProcesses {
public:
    /// Each program occupies one of the tasks while it is followed.
    explicit PosixLastingProcesses(std::shared_ptr<BackgroundTasks> tasks);
    ~PosixLastingProcesses() override;

    [[nodiscard]] Started start(const ProcessStart& what, const std::string& folder,
                                const std::string& note) override;
    [[nodiscard]] std::unique_ptr<LastingRun> takeOver(const std::string& folder) override;

private:
    class Children;

    std::shared_ptr<BackgroundTasks> tasks_;
    std::shared_ptr<Children> children_;
};

}  // namespace vestigo
