// The services that are the same on every POSIX system.
#include <cstdlib>
#include <new>
#include <utility>

#include <unistd.h>

#include "platform/posix/home_folder.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_lasting_processes.h"
#include "platform/posix/posix_links.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/thread_tasks.h"
#include "platform/system.h"

namespace vestigo {

std::shared_ptr<BackgroundTasks> systemTasks(std::function<void()> outOfMemory) {
    return std::make_shared<ThreadTasks>(std::move(outOfMemory));
}

void endWhenOutOfMemory(std::string line) {
    // The handler cannot allocate, not even for a stream.
    static std::string lastWords;
    lastWords = std::move(line) + '\n';
    std::set_new_handler([] {
        (void)!::write(STDERR_FILENO, lastWords.data(), lastWords.size());
        ::_exit(EXIT_FAILURE);
    });
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

std::shared_ptr<LastingProcesses> systemLastingProcesses(std::shared_ptr<BackgroundTasks> tasks) {
    return std::make_shared<PosixLastingProcesses>(std::move(tasks));
}

std::string systemHomeFolder() {
    return homeFolder();
}

}  // namespace vestigo
