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
    }
    ~EndingTest() override { std::ofstream(tree.at("fifo")) << "go\n"; }

    pid_t startProgram() {
        const auto errors = tree.at("errors");
        const pid_t program = fork();
        if (program == 0) {
            for (const auto* const name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME",
                                           "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
                setenv(name, tree.path().c_str(), 1);
            }
            setenv("QT_QPA_PLATFORM", "offscreen", 1);
            // As for the tests themselves, where the program is built with that sanitizer.
            setenv("TSAN_OPTIONS", "ignore_noninstrumented_modules=1:die_after_fork=0", 1);
            // Whoever runs the tests in the background has them ignore some of these signals.
            for (const int sent : {SIGTERM, SIGINT, SIGHUP}) signal(sent, SIG_DFL);
            dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR), 2);
            execl(VESTIGO_PROGRAM, VESTIGO_PROGRAM, nullptr);
            _exit(99);
        }
        return program;
    }
    /// Whether the program reads the output of the reinstall, which it does when all is set up.
    [[nodiscard]] static bool follows(pid_t program) {
        std::error_code error;
        const auto folder = "/proc/" + std::to_string(program) + "/fd";
        for (const auto& open : std::filesystem::directory_iterator(folder, error)) {
            const auto file = std::filesystem::read_symlink(open, error);
            if (file.filename() == "output") return true;
        }
        return false;
    }
    [[nodiscard]] std::string errors() const {
        std::ostringstream text;
        text << std::ifstream(tree.at("errors")).rdbuf();
        return text.str();
    }

    TemporaryTree tree;
    std::string reinstalls = tree.at("Vestigo/reinstalls");
    std::shared_ptr<LastingProcesses> processes = systemLastingProcesses(systemTasks());
};

TEST_F(EndingTest, EndsInOrderAtASignalAndSaysWhatGoesOn) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const pid_t program = startProgram();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!follows(program) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        kill(program, signal);
        int status = 0;
        waitpid(program, &status, 0);
        EXPECT_TRUE(WIFEXITED(status)) << errors();
        EXPECT_EQ(WEXITSTATUS(status), 128 + signal);
        EXPECT_NE(errors().find("vestigo: Homebrew goes on reinstalling “wget” by itself."),
                  std::string::npos)
            << errors();
    }
    const auto run = processes->takeOver(reinstalls);
    ASSERT_TRUE(run);
    EXPECT_TRUE(run->running());
}

/// What a command prints, and its exit status behind it.
std::string outcome(const std::string& arguments) {
    const auto command = "env -u DISPLAY QT_QPA_PLATFORM=none '" VESTIGO_PROGRAM "' " + arguments;
    std::string text;
    auto* const pipe = popen((command + " 2>&1").c_str(), "r");
    for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe)) text += static_cast<char>(byte);
    return text + std::to_string(WEXITSTATUS(pclose(pipe)));
}

TEST(CommandLine, IsAnsweredWithoutAScreen) {
    EXPECT_EQ(outcome("--version"), "vestigo " VESTIGO_VERSION "\n0");
    EXPECT_TRUE(outcome("--help").starts_with("Usage: vestigo\n"));
    EXPECT_EQ(outcome("--help >/dev/full"), "1");
}

}  // namespace
}  // namespace vestigo::test
