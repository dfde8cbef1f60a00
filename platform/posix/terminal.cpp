// Signals reach the program in three steps. The handler, which may call only few functions,
// restores the default action of all watched signals and writes the signal's number into a pipe; a
// thread of its own reads the pipe and calls the callback, which may do anything. So a second
// signal ends the process whatever the callback does.
//
// Blocking the signals and waiting for them with sigwait(3) would be simpler, but programs started
// later would inherit the blocked signals. The system resets handlers in every program that is
// started.
#include "platform/terminal.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <locale.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/descriptor.h"

#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

namespace vestigo {
namespace {

/// Paths are UTF-8 whatever the user's language is. Null where the system has no UTF-8 locale.
locale_t utf8Locale() {
    static const auto locale = [] {
        for (const auto* const name : {"C.UTF-8", "UTF-8", "en_US.UTF-8"}) {
            if (const auto found = ::newlocale(LC_CTYPE_MASK, name, nullptr)) return found;
        }
        return locale_t{};
    }();
    return locale;
}

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};

/// Leads from the signal handler to the watching thread.
std::array<int, 2> signalPipe{-1, -1};

/// Leaves out ignored signals: a shell ignores SIGINT for a background job, and nohup(1) ignores
/// SIGHUP.
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

/// Calls only functions that are safe in a signal handler. The next signal ends the process.
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

bool writeOutput(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count =
            retrying([&] { return ::write(STDOUT_FILENO, bytes.data(), bytes.size()); });
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) return false;
        pollfd output{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
        if (retrying([&] { return ::poll(&output, 1, -1); }) < 0) return false;
    }
    return true;
}

bool outputIsTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

std::optional<std::size_t> errorTerminalWidth() {
    constexpr std::size_t usualWidth = 80;
    if (::isatty(STDERR_FILENO) != 1) return std::nullopt;
    const char* const kind = std::getenv("TERM");
    if (!kind || std::string_view(kind).empty() || std::string_view(kind) == "dumb") {
        return std::nullopt;
    }
    struct winsize size {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return usualWidth;
    return size.ws_col;
}

std::optional<std::size_t> terminalColumns(char32_t character) {
    // Without a locale to ask, assumes the greater width, so that no line becomes too long.
    if (!utf8Locale()) return character < 0x80 ? 1 : 2;
    const auto before = ::uselocale(utf8Locale());
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(before);
    return columns < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(columns));
}

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
