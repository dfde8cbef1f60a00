// Programs that go on whatever becomes of this one, each with a folder of its own.
#pragma once

#include <memory>

#include "platform/lasting_processes.h"
#include "platform/tasks.h"

namespace vestigo {

/// Chunks are at most 64 KiB and, but for a longer line, whole lines where more is there already.
/// What a program of its own leaves running is not waited for.
class PosixLastingProcesses : public LastingProcesses {
public:
    /// One task for each program that is followed.
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
