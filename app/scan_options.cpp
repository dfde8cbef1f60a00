#include "app/scan_options.h"

#include <filesystem>

namespace vestigo {
namespace {

constexpr const char* helpText =
    "Usage: vestigo-scan [--all] [--json] [--previous FILE] [--cache FILE]\n"
    "                    [--no-signatures] [FOLDER ...]\n"
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
    "  --cache FILE      remembers which files are no Mach-O files, so that the next scan does "
    "not\n"
    "                    open them; made when missing, replaced after a complete scan\n"
    "  --no-signatures   leave the vendors out\n"
    "  --help            print this text\n"
    "  --version         print the version\n"
    "  --                what follows is a folder, whatever it looks like\n"
    "\n"
    "Exit status: 0 done; 1 the output could not be written; 2 wrong usage, a FOLDER that does "
    "not\n"
    "exist, or an unusable --previous or --cache file; 130 interrupted: what was found is "
    "printed.\n";

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
        const auto name = option.substr(0, option.find('='));
        auto* const file = name == "--previous" ? &options_.previous
                           : name == "--cache"  ? &options_.cache
                                                : nullptr;
        if (file) {
            const bool joined = name.size() < option.size();
            const auto path = joined ? option.substr(name.size() + 1) : following();
            takeFile(name, path, *file);
        } else if (option == "--all") {
            options_.all = true;
        } else if (option == "--json") {
            options_.json = true;
        } else if (option == "--no-signatures") {
            options_.signatures = false;
        } else {
            wrong_ = "unknown option " + option;
        }
    }

    std::string following() { return arguments_.empty() ? "" : next(); }

    void takeFile(const std::string& option, const std::string& path,
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
