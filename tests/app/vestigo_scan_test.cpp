// The real program, as a script would call it.
#include "persist/scan_file_reader.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

struct Outcome {
    int status = -1;
    std::string output;
    std::string complaint;
};

class VestigoScanTest : public testing::Test {
protected:
    void SetUp() override {
        tree.file("disk/A.app/Contents/MacOS/A", test::thinMachO(test::cpuX86_64));
        tree.file("disk/bin/new", test::thinMachO(test::cpuArm64));
    }

    /// `command`: shell text in which $scan is the program.
    Outcome shell(const std::string& command) {
        tree.file("script", "scan='" VESTIGO_SCAN_PROGRAM "'; HOME=$PWD; " + command);
        const int result =
            system(("cd '" + tree.path() + "' && /bin/bash script >out 2>err").c_str());
        return {WEXITSTATUS(result), content("out"), content("err")};
    }

    /// So many that their list fills every pipe.
    void addLongNames() {
        for (int i = 0; i < 500; ++i) {
            tree.file("disk/" + std::string(200, 'n') + std::to_string(i),
                      test::thinMachO(test::cpuPpc));
        }
    }
    std::string content(const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(tree.at(name)).rdbuf();
        return text.str();
    }

    test::TemporaryTree tree;
};

TEST_F(VestigoScanTest, PrintsTheLegacyGroupsOfTheFoldersOrElseOfTheSmartOnes) {
    const auto result = shell("$scan disk/../disk");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.complaint, "");
    EXPECT_TRUE(result.output.starts_with(
        "category,bundle,vendor,fix,cpu,apple_signed,created,legacy_count,path\n"
        "\"App\",\"A.app\",\"unsigned\",Manual,\"x86_64\",false,"))
        << result.output;
    EXPECT_TRUE(result.output.ends_with(",1,\"" + tree.at("disk/A.app") + "\"\n"));
    const auto all = shell("$scan --all --no-signatures disk").output;
    EXPECT_NE(all.find("\"CLI tool\",\"new\",\"\",Keep,\"arm64\",false,"), all.npos) << all;
    tree.file("Applications/Mine.app/x", test::thinMachO(test::cpuI386));
    const auto smart = shell("$scan --no-signatures").output;
    EXPECT_NE(smart.find(tree.at("Applications/Mine.app")), smart.npos);
}

TEST_F(VestigoScanTest, LooksIntoAPlaceThatIsLeftOutWhenItIsNamed) {
    const auto found = shell(
        "folder=$(mktemp -d /dev/shm/vestigo.XXXXXX) || exit 77; cp -r disk $folder;"
        "$scan $folder/disk | grep -c A.app; rm -r $folder");
    if (found.status == 77) GTEST_SKIP() << "no /dev/shm";
    EXPECT_EQ(found.output, "1\n");
}

TEST_F(VestigoScanTest, TellsByItsStatusWhatWasFoundAndWhatFailed) {
    ASSERT_EQ(symlink("loop", tree.at("loop").c_str()), 0);
    const struct {
        const char* command;
        int status;
        const char* complaint;
    } cases[] = {
        {"$scan --fail-on-legacy disk", 3, ""},
        {"$scan --fail-on-legacy --json disk", 3, ""},
        {"$scan --fail-on-legacy --all disk/bin", 0, ""},
        {"$scan loop disk | diff - expected; exit ${PIPESTATUS[0]}", 2,
         "vestigo-scan: cannot open loop: Too many levels of symbolic links\n"},
        {"$scan disk >/dev/full 2>said; exit $?", 1, ""},
        {"mkfifo full; exec 5<>full 6>full 5>&-; $scan disk >&6", 1, ""},
    };
    tree.file("expected", shell("$scan disk").output);
    for (const auto& [command, status, complaint] : cases) {
        const auto result = shell(command);
        EXPECT_EQ(result.status, status) << command;
        EXPECT_EQ(result.complaint, complaint) << command;
    }
}

TEST_F(VestigoScanTest, RefusesWhatItCannotUseWithOneLine) {
    ASSERT_EQ(symlink("loop", tree.at("loop").c_str()), 0);
    tree.file("old.json", R"({"version":2,"date":0,"roots":[],"hits":[]})");
    tree.file("foreign", "something of the user's, longer than the beginning of any cache is");
    ASSERT_EQ(chmod(tree.file("shared").c_str(), 0620), 0);
    const std::pair<const char*, const char*> cases[] = {
        {"disk missing", "missing does not exist"},
        {"old.json", "old.json is not a folder"},
        {"--wrong", "unknown option --wrong (see --help)"},
        {"--previous missing disk", "cannot read missing: No such file or directory"},
        {"--previous old.json disk", "old.json is no saved scan, or one of an older version"},
        {"--previous disk disk", "cannot read disk"},
        {"loop", "cannot open loop"},
        {"$'new\nline'", "new?line does not exist"},
        {"--cache foreign disk", "foreign is no cache of this program, and is left alone"},
        {"--cache disk disk", "cannot use disk: it is no regular file"},
        {"--cache missing/cache disk", "missing/cache cannot be made"},
        {"--cache /dev/null disk", "cannot use /dev/null"},
        {"--cache shared disk", "cannot use shared: others may write it"},
    };
    for (const auto& [arguments, complaint] : cases) {
        const auto result = shell(std::string("$scan ") + arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_EQ(result.output, "") << arguments;
        EXPECT_TRUE(result.complaint.starts_with(std::string("vestigo-scan: ") + complaint))
            << result.complaint;
        EXPECT_EQ(result.complaint.find('\n'), result.complaint.size() - 1) << arguments;
    }
    EXPECT_TRUE(content("foreign").starts_with("something"));
}

TEST_F(VestigoScanTest, PrintsARecordThatTheNextScanTakesOver) {
    auto known = shell("$scan --json disk").output;
    EXPECT_EQ(decodeScanFile(known).value().roots, std::vector{tree.at("disk")});
    known.replace(known.find("unsigned"), 8, "Known");
    tree.file("previous", known);
    const auto second = shell("$scan --previous previous disk").output;
    EXPECT_NE(second.find("\"Known\""), std::string::npos) << second;
    // What is known of signatures is used in any case; and a record may come through a pipe.
    const auto again = shell(
        "$scan --no-signatures --json --previous <(sleep .1; cat previous) disk |"
        " sed 's/\"date\":[^,]*//' | cmp - <(sed 's/\"date\":[^,]*//' previous)");
    EXPECT_EQ(again.output, "");
    EXPECT_EQ(again.status, 0);
}

TEST_F(VestigoScanTest, PrintsWhatWasFoundWhenItIsInterrupted) {
    addLongNames();
    // Whatever the tests were started by lets them ignore.
    for (const int each : {SIGHUP, SIGINT}) std::signal(each, SIG_DFL);
    const struct {
        const char* jobControl;
        const char* output;
        const char* signals;
        const char* end;
    } cases[] = {
        {"-m", "found", "kill -INT $pid", "130 1\n"},
        // Without job control a shell lets what it runs in the background ignore SIGINT.
        {"+m", "found", "kill -INT $pid; sleep .3; kill -TERM $pid || echo gone", "130 1\n"},
        {"-m", "found", "kill -HUP $pid", "129 0\n"},
        // Nobody reads what it prints, so only a second signal ends it.
        {"-m", "full", "kill -INT $pid; sleep .5; kill -TERM $pid", "143 0\n"},
    };
    for (const auto& each : cases) {
        // The walk is done, and waits for an earlier scan that never comes.
        const auto begin = "rm -f never full; mkfifo never full; exec 6<>full; : >found; set " +
                           std::string(each.jobControl) + "; $scan --previous never disk >" +
                           each.output + " & pid=$!; exec 5>never; sleep 1; ";
        const auto end = shell(begin + each.signals +
                               "; for i in {1..100}; do kill -0 $pid || break; sleep .1; done;"
                               " kill -KILL $pid; wait $pid; echo $? $(grep -c A.app found)");
        EXPECT_EQ(end.output, each.end) << each.signals;
    }
}

TEST_F(VestigoScanTest, FindsTheSameWhereTheSystemLacksTheNewestCalls) {
    const auto expected = shell("$scan --all disk").output;
    if (shell("strace -o /dev/null true").status != 0) GTEST_SKIP() << "nothing can be traced";
    for (const std::string error : {"ENOSYS", "EPERM"}) {
        const auto trace = "strace -fqqo /dev/null -e inject=openat2:error=" + error;
        EXPECT_EQ(shell(trace + " $scan --all disk").output, expected) << error;
    }
}

TEST_F(VestigoScanTest, RemembersOtherFilesInACacheOfItsOwn) {
    for (int i = 0; i < 50; ++i) tree.file("disk/text" + std::to_string(i), "no program");
    const auto expected = shell("$scan --all disk").output;
    EXPECT_EQ(shell(": >real; ln -s real cache; $scan --all --cache cache disk").output, expected);
    EXPECT_EQ(shell("find real cache -perm 600 -size 128c -type f").output, "real\n");
    tree.file("disk/text7", test::thinMachO(test::cpuPpc));
    const auto changed = shell("$scan --all --cache=cache disk").output;
    EXPECT_EQ(changed, shell("$scan --all disk").output);
    EXPECT_NE(changed, expected);
    // In this folder nobody can write, whoever it is.
    const auto unwritten = shell("$scan --all --cache /dev/fd/cache disk");
    EXPECT_EQ(unwritten.status, 0);
    EXPECT_NE(unwritten.complaint.find("/dev/fd/cache could not be written"), std::string::npos);
}

TEST_F(VestigoScanTest, WritesAllOfItToAPipeThatDoesNotBlock) {
    addLongNames();
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
    auto reader = std::async(std::launch::async, [in = ends[0]] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        std::string all;
        char some[4096];
        for (ssize_t n = 0; (n = read(in, some, sizeof some)) > 0;) all.append(some, size_t(n));
        return all;
    });
    EXPECT_EQ(shell("$scan disk >&" + std::to_string(ends[1])).status, 0);
    close(ends[1]);
    EXPECT_EQ(reader.get(), shell("$scan disk").output);
    close(ends[0]);
}

TEST_F(VestigoScanTest, KeepsNamesFromDrivingATerminal) {
    tree.file("disk/evil\x1B[2J", test::thinMachO(test::cpuPpc));
    for (int i = 0; i < 1000; ++i) tree.file("disk/text/" + std::to_string(i));
    const auto onTerminal = [this](const std::string& kind) {
        const auto looking = std::string("\"stty cols 40; $scan disk\"");
        return shell("export TERM=" + kind + "; if [ $(uname) = Darwin ];" +
                     " then script -q /dev/null bash -c " + looking + ";" +  //
                     " else script -qec " + looking + " /dev/null; fi")
            .output;
    };
    const auto seen = onTerminal("xterm");
    for (const std::string part : {"\r\x1B[K1000 files  …", "\r\x1B[Kcategory,"}) {
        EXPECT_NE(seen.find(part), seen.npos) << seen;
    }
    EXPECT_NE(seen.find("disk/evil\\u001B[2J\"\r\n"), std::string::npos) << seen;
    EXPECT_EQ(onTerminal("dumb").find('\x1B'), std::string::npos);
    EXPECT_NE(shell("$scan disk").output.find("disk/evil\x1B[2J"), std::string::npos);
}

TEST_F(VestigoScanTest, SaysThatItRanOutOfMemory) {
    // Sanitizers take more address space than any limit leaves them, and not every system keeps to
    // the limit.
    if (shell("ulimit -v 100000; $scan --version").status != 0) GTEST_SKIP();
    if (shell("ulimit -v 1000; $scan --version").status == 0) GTEST_SKIP();
    std::string folder = "disk";
    for (int depth = 0; depth < 5; ++depth) folder += "/" + std::string(200, 'd');
    for (int i = 0; i < 2000; ++i) {
        tree.file(folder + "/" + std::to_string(i), test::thinMachO(test::cpuX86_64));
    }
    const auto expected = shell("$scan disk | cksum").output;
    const auto outcomes = shell(
        "for limit in 25 31 38 46 55 300; do (ulimit -v ${limit}000; $scan disk >found 2>said)"
        " && cksum <found || echo $? $(cat said); done | LC_ALL=C sort -u");
    EXPECT_EQ(outcomes.output, "1 vestigo-scan: out of memory\n" + expected);
}

}  // namespace
}  // namespace vestigo
