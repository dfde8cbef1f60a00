// vestigo-make-tree makes a folder that looks like a Mac's disk. The same seed gives the same
// folder.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include <sys/stat.h>

#include "bench/mac_folders.h"
#include "bench/tree_writer.h"

namespace {

using namespace vestigo::bench;

struct Arguments {
    std::string folder;
    TreeSize size;
    std::uint64_t seed = 1;
};

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

bool parseOption(Arguments& arguments, std::string_view option, std::string_view text) {
    const auto value = number(text);
    if (!value) return false;
    if (option == "--files") {
        arguments.size.files = *value;
    } else if (option == "--share" && *value <= 100) {
        arguments.size.machOPercent = static_cast<unsigned>(*value);
    } else if (option == "--seed") {
        arguments.seed = *value;
    } else {
        return false;
    }
    return true;
}

std::optional<Arguments> parse(int count, char** words) {
    Arguments arguments;
    for (int i = 1; i < count; ++i) {
        const std::string_view word(words[i]);
        if (!word.starts_with('-') && arguments.folder.empty()) {
            arguments.folder = word;
        } else if (i + 1 == count || !parseOption(arguments, word, words[i + 1])) {
            return std::nullopt;
        } else {
            ++i;
        }
    }
    if (arguments.folder.empty() || arguments.size.files == 0) return std::nullopt;
    return arguments;
}

}  // namespace

int main(int count, char** words) {
    const auto arguments = parse(count, words);
    if (!arguments) {
        std::fputs(
            "usage: vestigo-make-tree FOLDER --files N [--share PERCENT] [--seed S]\n"
            "  FOLDER   made anew; must not exist\n"
            "  --files  how many files a scan looks at; what it leaves out comes on top\n"
            "  --share  how many of a hundred of them are Mach-O files (10)\n",
            stderr);
        return 2;
    }
    if (mkdir(arguments->folder.c_str(), 0755) != 0) {
        std::perror(arguments->folder.c_str());
        return 1;
    }
    Dice dice(arguments->seed);
    TreeWriter writer(arguments->folder, arguments->size, dice);
    fillDisk(writer, dice);
    const auto& totals = writer.totals();
    std::printf(
        "files %ju mach-o %ju legacy %ju left-out %ju\n", static_cast<std::uintmax_t>(totals.files),
        static_cast<std::uintmax_t>(totals.machO), static_cast<std::uintmax_t>(totals.legacy),
        static_cast<std::uintmax_t>(totals.leftOut));
    return 0;
}
