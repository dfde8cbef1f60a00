#include "app/scan_options.h"

#include <filesystem>

namespace vestigo {
namespace {

constexpr const char* helpText =
    "Usage: vestigo-scan [--all] [--json] [--previous FILE] [--no-signatures] [FOLDER ...]\n"
    "\n"
    "Finds programs that an Apple Silicon Mac cannot run natively (Intel, PowerPC) and prints\n"
    "them, grouped, as CSV. Reads only; removes and changes nothing.\n"
    "\n"
    "  FOLDER            walked in the order given; none: the smart folders, such as "
    "/Applications\n"
    "  --all             every Mach-O file, not only the legacy ones\n"
    "  --json            print the saved-scan record instead of CSV\n"
    "  --previous FILE   a saved-scan record: unchanged files are not read again, known "
    "signatures\n"
    "                    not inspected again\n"
    "  --no-signatures   leave the vendors out\n"
    "  --help            print this text\n"
    "  --version         print the version\n"
    "  --                what follows is a folder, whatever it looks like\n"
    "\n"
    "Exit status: 0 done; 1 the output could not be written; 2 wrong usage, a FOLDER that does "
    "not\n"
    "exist, or an unusable --previous file; 130 interrupted: what was found is printed.\n";

constexpr const char* versionText = "vestigo-scan " VESTIGO_VERSION "\n";

class Parser {
public:
    explicit Parser(std::span<const std::string> arguments) : arguments_(arguments) {}

    std::variant<ScanOptions, PrintText, WrongUsage> parse() {
        while (!arguments_.empty() && !text_ && !wrong_) take(next());
        if (text_) return PrintText{text_};
        if (wrong_) return WrongUsage{*wrong_};
        return options_;
    }

private:
    std::string next() {
        auto argument = arguments_.front();
        arguments_ = arguments_.subspan(1);
        return argument;
    }

    void take(const std::string& argument) {
        if (onlyFolders_ || !argument.starts_with('-') || argument == "-") {
            takeFolder(argument);
        } else if (argument == "--") {
            onlyFolders_ = true;
        } else if (argument == "--help" || argument == "-h") {
            text_ = helpText;
        } else if (argument == "--version") {
            text_ = versionText;
        } else {
            takeOption(argument);
        }
    }

    void takeFolder(const std::string& folder) {
        if (folder.empty()) {
            wrong_ = "a folder's name is empty";
        } else {
            options_.folders.push_back(folder);
        }
    }

    void takeOption(const std::string& option) {
        constexpr std::string_view previous = "--previous";
        if (option == "--all") {
            options_.all = true;
        } else if (option == "--json") {
            options_.json = true;
        } else if (option == "--no-signatures") {
            options_.signatures = false;
        } else if (option.starts_with("--previous=")) {
            takePrevious(option.substr(previous.size() + 1));
        } else if (option != previous) {
            wrong_ = "unknown option " + option;
        } else {
            takePrevious(arguments_.empty() ? "" : next());
        }
    }

    void takePrevious(const std::string& file) {
        if (file.empty()) wrong_ = "--previous needs a file";
        if (options_.previous) wrong_ = "--previous is given twice";
        options_.previous = file;
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
