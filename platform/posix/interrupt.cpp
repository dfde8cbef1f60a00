#include "platform/interrupt.h"

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace vestigo {
namespace {

/// Those of the two that are not ignored: a shell ignores SIGINT for what it runs in the
/// background.
sigset_t wantedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction current {};
        const bool known = sigaction(signal, nullptr, &current) == 0;
        if (known && current.sa_handler != SIG_IGN) sigaddset(&signals, signal);
    }
    return signals;
}

void watch(const sigset_t& signals, const std::function<bool()>& onInterrupt) {
    int received = 0;
    if (sigwait(&signals, &received) != 0) return;
    if (onInterrupt()) sigwait(&signals, &received);
    std::signal(received, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::raise(received);
}

}  // namespace

void watchForInterrupt(std::function<bool()> onInterrupt) {
    std::signal(SIGPIPE, SIG_IGN);
    const auto signals = wantedSignals();
    // Threads started later inherit the mask, so that only the watcher ever sees these signals.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        std::thread([signals, onInterrupt = std::move(onInterrupt)] {
            watch(signals, onInterrupt);
        }).detach();
    } catch (const std::system_error&) {
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
}

}  // namespace vestigo
