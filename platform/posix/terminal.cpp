#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace vestigo {

std::optional<std::size_t> errorTerminalWidth() {
    constexpr std::size_t usualWidth = 80;
    if (isatty(STDERR_FILENO) != 1) return std::nullopt;
    struct winsize size {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return usualWidth;
    return size.ws_col;
}

}  // namespace vestigo
