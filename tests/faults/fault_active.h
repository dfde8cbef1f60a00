// Switches the faults that scripts/plant-faults compiles into a copy of the program.
#pragma once

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

/// Whether VESTIGO_FAULT names this fault. Where VESTIGO_FAULT_TRACE names a file, writes to it
/// that the place of this fault was reached.
inline bool readFaultSwitch(unsigned number) {
    const auto text = std::to_string(number) + "\n";
    if (const char* const trace = std::getenv("VESTIGO_FAULT_TRACE")) {
        const int file = ::open(trace, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        // A test may leave the program no descriptors.
        if (file >= 0 && ::write(file, text.data(), text.size()) < 0) std::abort();
        if (file >= 0) ::close(file);
    }
    const char* const active = std::getenv("VESTIGO_FAULT");
    return active && active + std::string("\n") == text;
}

/// Reads the switch of each fault once.
template <unsigned number>
bool faultActive() {
    static const bool active = readFaultSwitch(number);
    return active;
}
