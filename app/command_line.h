// The command line of programs that open a window: they answer --help and --version.
#pragma once

#include <optional>

namespace vestigo {

/// Prints what the first argument asks for on the standard output: for -h and --help the text, for
/// -V and --version the name and the version. The exit status, 1 where it could not be written;
/// absent when neither is asked for. Needs no screen, so it comes before the application object.
[[nodiscard]] std::optional<int> answerCommandLine(int argc, char** argv, const char* name,
                                                   const char* help);

/// Whether there are arguments that nobody takes, which are then named on the standard error. To be
/// asked once the application object has taken its own away.
[[nodiscard]] bool refusesArguments(int argc, char** argv, const char* name);

}  // namespace vestigo
