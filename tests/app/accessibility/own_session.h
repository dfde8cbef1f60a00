// A screen and a session bus for one test program, which nobody else sees.
#pragma once

#include <sys/types.h>

#include "tests/support/test.h"

namespace vestigo::test {

/// Both end with this object, at the latest with the program.
class OwnSession {
public:
    /// Sets the environment of this process, so it comes before the application object. `home` is
    /// the home folder from now on.
    explicit OwnSession(const std::string& home);
    ~OwnSession();
    OwnSession(const OwnSession&) = delete;
    OwnSession& operator=(const OwnSession&) = delete;

    /// Why there is none; empty: there is one.
    [[nodiscard]] const std::string& missing() const { return missing_; }

private:
    std::string start(std::vector<std::string> command, const std::string& descriptorOption);

    std::vector<pid_t> servers_;
    std::string missing_;
};

}  // namespace vestigo::test
