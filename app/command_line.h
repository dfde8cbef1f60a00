// The command line of programs that open a window. They know only --help and --version.
#pragma once

#include <optional>

namespace vestigo {

/// Looks at the first argument. Prints `help` for -h and --help, name and version for -V and
/// --version, and returns the exit status: 1 if the output could not be written. Returns nothing
/// for any other argument. Works without a screen, so call it before creating the application
/// object.
[[nodiscard]] std::optional<int> answerCommandLine(int argc, char** argv, const char* name,
                                                   const char* help);

/// Returns true, and prints a message on standard error, if there is any argument. Call it after
/// creating the application object, which removes the arguments that are meant for Qt.
[[nodiscard]] bool refusesArguments(int argc, char** argv, const char* name);

}  // namespace vestigo
