#include "cli/scan_options.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace vestigo {
namespace {

constexpr const char* helpText =
    R"(Usage: vestigo-scan [OPTION ...] [--all-users | FOLDER ...]

Finds programs that an Apple Silicon Mac cannot run natively (Intel, PowerPC)
and prints them, grouped, as CSV. Reads only; removes and changes nothing.

  FOLDER            walked in the order given; folders that overlap count once.
                    What scans leave out, such as /Volumes, does not count for
                    a FOLDER at or below it. None: the smart folders, such as
                    /Applications and ~/Library
  --all-users       the smart folders, with ~ for the home of every user
  --all             every Mach-O file, not only the legacy ones
  --json            print the saved-scan record instead of CSV
  --previous FILE   a saved-scan record: Mach-O files that have not changed are
                    not read again, known signatures not inspected again
  --cache FILE      remembers which files are no Mach-O files, so that the next
                    scan does not open them; made when missing, replaced after
                    a complete scan
  --no-signatures   inspect no signatures; those that --previous brings are
                    used. Without them vendors are missing, and Apple's code
                    shows as Manual or Keep
  --fail-on-legacy  exit status 3 when something is printed whose fix is
                    neither Keep nor Apple
  -h, --help        print this text
  -V, --version     print the version
  --                what follows is a folder, whatever it looks like

Exit status:
  0    done
  1    the output could not be written, or memory ran out
  2    wrong usage, a FOLDER that does not exist, or an unusable --previous or
       --cache file: nothing is scanned. Or a FOLDER that cannot be opened: the
       others are scanned
  3    with --fail-on-legacy: see there
  130  interrupted by SIGINT (Ctrl-C) or SIGTERM: what was found is printed
)";

constexpr const char* versionText = "vestigo-scan " VESTIGO_VERSION "\n";

struct Flag {
    std::string_view name;
    bool ScanOptions::*field;
    bool value;
};

constexpr Flag flags[] = {
    {"--all", &ScanOptions::all, true},
    {"--json", &ScanOptions::json, true},
    {"--all-users", &ScanOptions::allUsers, true},
    {"--no-signatures", &ScanOptions::signatures, false},
    {"--fail-on-legacy", &ScanOptions::failOnLegacy, true},
};

class Parser {
public:
    explicit Parser(std::span<const std::string> arguments) : arguments_(arguments) {}

    std::variant<ScanOptions, PrintText, WrongUsage> parse() {
        while (!arguments_.empty() && !text_ && !wrong_) parseArgument(next());
        if (text_) return PrintText{text_};
        if (options_.allUsers && !options_.folders.empty() && !wrong_) {
            wrong_ = "--all-users goes without a folder";
        }
        if (wrong_) return WrongUsage{*wrong_};
        return options_;
    }

private:
    std::string next() {
        auto argument = arguments_.front();
        arguments_ = arguments_.subspan(1);
        return argument;
    }

    void parseArgument(const std::string& argument) {
        if (onlyFolders_ || !argument.starts_with('-') || argument == "-") {
            addFolder(argument);
        } else if (argument == "--") {
            onlyFolders_ = true;
        } else if (argument == "--help" || argument == "-h") {
            text_ = helpText;
        } else if (argument == "--version" || argument == "-V") {
            text_ = versionText;
        } else {
            parseOption(argument);
        }
    }

    void addFolder(const std::string& folder) {
        if (folder.empty()) {
            wrong_ = "a folder's name is empty";
        } else {
            options_.folders.push_back(folder);
        }
    }

    void parseOption(const std::string& option) {
        const auto name = option.substr(0, option.find('='));
        auto* const file = name == "--previous" ? &options_.previous
                           : name == "--cache"  ? &options_.cache
                                                : nullptr;
        const auto* const flag = std::ranges::find(flags, option, &Flag::name);
        if (file) {
            const bool joined = name.size() < option.size();
            const auto path = joined ? option.substr(name.size() + 1) : nextOrEmpty();
            setFile(name, path, *file);
        } else if (flag != std::end(flags)) {
            options_.*flag->field = flag->value;
        } else {
            wrong_ = "unknown option " + option;
        }
    }

    std::string nextOrEmpty() { return arguments_.empty() ? "" : next(); }

    void setFile(const std::string& option, const std::string& path,
                 std::optional<std::string>& file) {
        if (path.empty()) wrong_ = option + " needs a file";
        if (file) wrong_ = option + " is given twice";
        file = path;
    }

    std::span<const std::string> arguments_;
    ScanOptions options_;
    bool onlyFolders_ = false;
    const char* text_ = nullptr;
    std::optional<std::string> wrong_;
};

}  // namespace

std::variant<ScanOptions, PrintText, WrongUsage> parseScanOptions(
    std::span<const std::string> arguments) {
    return Parser(arguments).parse();
}

std::string absoluteLexically(const std::string& path, const std::string& current) {
    auto whole = (std::filesystem::path(current) / path).lexically_normal().string();
    while (whole.size() > 1 && whole.ends_with('/')) whole.pop_back();
    return whole.starts_with("//") ? whole.substr(1) : whole;
}

}  // namespace vestigo
