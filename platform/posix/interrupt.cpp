#include "platform/interrupt.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/retrying.h"

namespace vestigo {
namespace {

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};

/// Between the handler and the watcher. A handler is reset in every program that is started, while
/// a blocked signal would stay blocked there.
std::array<int, 2> signalPipe{-1, -1};

/// Those that are not ignored: a shell ignores SIGINT for what it runs in the background, and
/// nohup(1) ignores SIGHUP.
sigset_t wantedSignals(EndingSignals which) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : endingSignals) {
        if (signal == SIGHUP && which == EndingSignals::interrupt) continue;
        struct sigaction current {};
        const bool known = sigaction(signal, nullptr, &current) == 0;
        if (known && current.sa_handler != SIG_IGN) sigaddset(&signals, signal);
    }
    return signals;
}

void handle(const sigset_t& signals, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    action.sa_mask = signals;
    for (const int signal : endingSignals) {
        if (sigismember(&signals, signal) == 1) sigaction(signal, &action, nullptr);
    }
}

sigset_t watched;

/// Calls only what a handler may call. The next signal ends the process.
extern "C" void reportSignal(int signal) {
    const int before = errno;
    handle(watched, SIG_DFL);
    const auto byte = static_cast<unsigned char>(signal);
    static_cast<void>(::write(signalPipe[1], &byte, 1));
    errno = before;
}

void watch(const std::function<bool(int)>& onInterrupt) {
    unsigned char signal = 0;
    if (retrying([&signal] { return ::read(signalPipe[0], &signal, 1); }) != 1) return;
    if (!onInterrupt(128 + signal)) std::raise(signal);
}

}  // namespace

void watchForInterrupt(std::function<bool(int)> onInterrupt, EndingSignals which) {
    std::signal(SIGPIPE, SIG_IGN);
    if (::pipe(signalPipe.data()) != 0) return;
    for (const int end : signalPipe) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    watched = wantedSignals(which);
    try {
        std::thread([onInterrupt = std::move(onInterrupt)] { watch(onInterrupt); }).detach();
    } catch (const std::system_error&) {
        return;
    }
    handle(watched, reportSignal);
}

}  // namespace vestigo
