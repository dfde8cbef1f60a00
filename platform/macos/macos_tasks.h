// Background tasks on threads of their own.
#pragma once

#include <memory>

#include "platform/tasks.h"

namespace vestigo {

/// Each runs at the quality of service of its priority. Threads that a task starts itself do not
/// inherit it: the system gives it to one thread at a time.
class MacOSTasks : public BackgroundTasks {
public:
    MacOSTasks();
    /// Waits for every task.
    ~MacOSTasks() override;
    void run(Priority priority, Job job) override;

private:
    struct Running;
    std::unique_ptr<Running> running_;
};

}  // namespace vestigo
