#include "platform/qt/qt_main_queue.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(QtMainQueue, LeavesRoomForOtherEventsInAFlood) {
    std::function<void()> again;
    QtMainQueue queue;
    const QObject user;
    int jobs = 0;
    int jobsBeforeTheAnswer = 300;
    again = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (++jobs == 300) QTimer::singleShot(0, &user, [&] { jobsBeforeTheAnswer = jobs - 300; });
        if (jobs < 600) queue.post(again);
    };
    queue.post(again);
    EXPECT_TRUE(QTest::qWaitFor([&] { return jobs == 600; }, 60000));
    EXPECT_LT(jobsBeforeTheAnswer, 40);
}

TEST(QtMainQueue, RunsJobsOfEveryThreadInOrderAlsoInsideAnEventLoopThatAJobRuns) {
    QtMainQueue queue;
    std::vector<int> ran;
    queue.post([&] {
        QEventLoop dialog;
        queue.post([&] {
            ran.push_back(2);
            dialog.quit();
        });
        dialog.exec();
        ran.push_back(3);
    });
    // A job that takes long is the last of its turn; the others are not forgotten.
    std::thread([&] {
        queue.post([&] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); });
        queue.post([&] { ran.push_back(1); });
    }).join();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ran.size() == 3; }));
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST(QtMainQueue, MayEndInItsOwnJobOrOnAnotherThread) {
    auto queue = std::make_shared<QtMainQueue>();
    const auto owned = std::make_shared<int>(0);
    bool ran = false;
    queue->post([&] {
        queue.reset();
        ran = true;
    });
    queue->post([owned] { FAIL() << "ran after the end"; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran; }));
    EXPECT_EQ(owned.use_count(), 1);

    queue = std::make_shared<QtMainQueue>();
    queue->post([owned] { FAIL() << "ran after the end"; });
    std::thread([&] { queue.reset(); }).join();
    QCoreApplication::processEvents();
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace vestigo
