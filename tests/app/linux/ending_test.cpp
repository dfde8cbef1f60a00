#include <QProcess>
#include <QTest>

#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

/// The program itself, with a home folder of its own, and a reinstall that runs meanwhile.
class EndingTest : public testing::Test {
protected:
    EndingTest() {
        const auto fifo = tree.at("fifo");
        mkfifo(fifo.c_str(), S_IRWXU);
        const ProcessStart waiting{.program = "/bin/sh",
                                   .arguments = {"-c", "read line < '" + fifo + "'; exit 7"},
                                   .environment = {}};
        // Let go of at once.
        static_cast<void>(processes->start(waiting, reinstalls, "wget"));
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const auto* const name :
             {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            environment.insert(name, QString::fromStdString(tree.path()));
        }
        // As for the tests themselves, where the program is built with that sanitizer.
        environment.insert("TSAN_OPTIONS", "ignore_noninstrumented_modules=1:die_after_fork=0");
        program.setProcessEnvironment(environment);
        // Whoever runs the tests in the background has them ignore some of these signals.
        program.setChildProcessModifier([] {
            for (const int signal : {SIGTERM, SIGINT, SIGHUP}) std::signal(signal, SIG_DFL);
        });
    }
    ~EndingTest() override { std::ofstream(tree.at("fifo")) << "go\n"; }

    /// Whether the program reads the output of the reinstall, which it does when all is set up.
    [[nodiscard]] bool follows() const {
        std::error_code error;
        const auto folder = "/proc/" + std::to_string(program.processId()) + "/fd";
        for (const auto& open : std::filesystem::directory_iterator(folder, error)) {
            const auto file = std::filesystem::read_symlink(open, error);
            if (file.filename() == "output") return true;
        }
        return false;
    }

    TemporaryTree tree;
    std::string reinstalls = tree.at("Vestigo/reinstalls");
    std::shared_ptr<LastingProcesses> processes = systemLastingProcesses(systemTasks());
    QProcess program;
};

TEST_F(EndingTest, EndsInOrderAtASignalAndSaysWhatGoesOn) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        program.start(VESTIGO_PROGRAM, QStringList());
        EXPECT_TRUE(QTest::qWaitFor([this] { return follows(); }, 60000));
        kill(static_cast<pid_t>(program.processId()), signal);
        EXPECT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), 128 + signal);
        const auto errors = program.readAllStandardError().toStdString();
        EXPECT_NE(errors.find("vestigo: Homebrew goes on reinstalling “wget” by itself."),
                  std::string::npos)
            << errors;
    }
    const auto run = processes->takeOver(reinstalls);
    ASSERT_TRUE(run);
    EXPECT_TRUE(run->running());
}

TEST(CommandLine, IsAnsweredWithoutAScreen) {
    const auto expectOutcome = [](const char* option, const char* start, int status,
                                  const char* file = nullptr) {
        QProcess program;
        if (file) program.setStandardOutputFile(file);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "none");
        program.setProcessEnvironment(environment);
        program.start(VESTIGO_PROGRAM, {option});
        EXPECT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitCode(), status);
        EXPECT_TRUE(program.readAllStandardOutput().startsWith(start));
    };
    expectOutcome("--version", "vestigo " VESTIGO_VERSION "\n", 0);
    expectOutcome("--help", "Usage: vestigo\n", 0);
    expectOutcome("--help", "", 1, "/dev/full");
}

}  // namespace
}  // namespace vestigo::test
