#include <csignal>
#include <thread>
#include <utility>

#include "platform/interrupt.h"

namespace vestigo {

void watchForInterrupt(std::function<void()> onInterrupt) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // Threads started later inherit the mask, so that only the watcher ever sees these signals.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::thread([signals, onInterrupt = std::move(onInterrupt)] {
        int received = 0;
        sigwait(&signals, &received);
        onInterrupt();
        sigwait(&signals, &received);
        std::signal(received, SIG_DFL);
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        std::raise(received);
    }).detach();
}

}  // namespace vestigo
