// Runs window tests on a screen that is not there.
#include <QStandardPaths>

#include <gtest/gtest.h>

#include "app/lasting_application.h"

#ifdef VESTIGO_SANITIZES_THREADS
// The toolkit is not built with the sanitizer, which therefore cannot see how its threads wait for
// each other; and it starts programs in a way that the sanitizer would end the test for.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:die_after_fork=0";
}
#endif

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    testing::InitGoogleTest(&argc, argv);
    const vestigo::LastingApplication application(argc, argv);
    // Tests click faster than people do.
    QApplication::setDoubleClickInterval(0);
    return RUN_ALL_TESTS();
}
