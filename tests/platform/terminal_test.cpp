#include "platform/terminal.h"

#include "tests/support/test.h"

namespace vestigo {
namespace {

using namespace std::chrono_literals;

/// A program that watches for signals and gets these. It would end by itself with status 7.
[[noreturn]] void getSignals(EndingSignals which, std::initializer_list<int> signals,
                             bool endsAtOnce, std::chrono::milliseconds patience) {
    const auto answer = [endsAtOnce](int status) {
        if (endsAtOnce) ::_exit(status);
        std::this_thread::sleep_for(10s);
        return true;
    };
    watchForInterrupt(answer, which);
    for (const int signal : signals) std::raise(signal);
    std::this_thread::sleep_for(patience);
    ::_exit(7);
}

TEST(Interrupt, IsToldOfOnceAndEndsTheProgramTheSecondTime) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto interrupt = EndingSignals::interrupt;
    const auto orHangUp = EndingSignals::interruptOrHangUp;
    EXPECT_EXIT(getSignals(interrupt, {SIGINT}, true, 10s), testing::ExitedWithCode(130), "");
    EXPECT_EXIT(getSignals(orHangUp, {SIGHUP}, true, 10s), testing::ExitedWithCode(129), "");
    EXPECT_EXIT(getSignals(interrupt, {SIGHUP}, true, 1s), testing::KilledBySignal(SIGHUP), "");
    EXPECT_EXIT(getSignals(interrupt, {SIGINT, SIGINT}, false, 0s), testing::KilledBySignal(SIGINT),
                "");
    EXPECT_EXIT((std::signal(SIGHUP, SIG_IGN), getSignals(orHangUp, {SIGHUP}, true, 100ms)),
                testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace vestigo
