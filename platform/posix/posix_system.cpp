// The services that are the same on every POSIX system.
#include <utility>

#include "platform/posix/home_folder.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "platform/system.h"

namespace vestigo {

std::shared_ptr<BackgroundTasks> systemTasks() {
    return std::make_shared<ThreadTasks>();
}

std::shared_ptr<Files> systemFiles() {
    return std::make_shared<PosixFiles>();
}

std::shared_ptr<Links> systemLinks() {
    return std::make_shared<PosixLinks>();
}

std::shared_ptr<Processes> systemProcesses(std::shared_ptr<BackgroundTasks> tasks) {
    return std::make_shared<PosixProcesses>(std::move(tasks));
}

std::string systemHomeFolder() {
    return homeFolder();
}

}  // namespace vestigo
