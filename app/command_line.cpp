#include "app/command_line.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace vestigo {

std::optional<int> answerCommandLine(int argc, char** argv, const char* name, const char* help) {
    const std::string_view asked = argc > 1 ? argv[1] : "";
    std::string text;
    if (asked == "-h" || asked == "--help") {
        text = help;
    } else if (asked == "-V" || asked == "--version") {
        text = std::string(name) + ' ' + VESTIGO_VERSION + '\n';
    } else {
        return std::nullopt;
    }
    const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return written ? 0 : 1;
}

bool refusesArguments(int argc, char** argv, const char* name) {
    if (argc < 2) return false;
    std::fprintf(stderr, "%s: takes no argument “%s”; see %s --help\n", name, argv[1], name);
    return true;
}

}  // namespace vestigo
