#include "platform/terminal.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cwchar>

#include <locale.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/retrying.h"

namespace vestigo {
namespace {

/// Paths are UTF-8 whatever language the user works in. Null where the system has no such locale.
locale_t utf8Locale() {
    static const auto locale = [] {
        for (const auto* const name : {"C.UTF-8", "UTF-8", "en_US.UTF-8"}) {
            if (const auto found = ::newlocale(LC_CTYPE_MASK, name, nullptr)) return found;
        }
        return locale_t{};
    }();
    return locale;
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
    // Without a table none is taken for narrower than it is.
    if (!utf8Locale()) return character < 0x80 ? 1 : 2;
    const auto before = ::uselocale(utf8Locale());
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(before);
    return columns < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(columns));
}

}  // namespace vestigo
