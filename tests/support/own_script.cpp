#include "tests/support/own_script.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string_view>
#include <system_error>

#include <sys/wait.h>

#include "platform/system.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

/// Takes one word, quotes included, from the front of a script; gives what it stands for as far as
/// that can be told without running it.
std::string takeWord(std::string_view& rest) {
    constexpr std::string_view between = " \t\n;|&()<>=";
    std::string word;
    while (!rest.empty() && between.find(rest.front()) == between.npos) {
        const char letter = rest.front();
        rest.remove_prefix(1);
        if (letter == '\'') {
            const auto end = rest.find('\'');
            word += rest.substr(0, end);
            rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        } else if (letter == '\\' && !rest.empty()) {
            word += rest.front();
            rest.remove_prefix(1);
        } else if (letter != '"') {
            word += letter;
        }
    }
    if (!rest.empty()) rest.remove_prefix(1);
    return word;
}

bool liesWithin(const std::string& path, const std::string& tree) {
    return path == tree || path.starts_with(tree + "/");
}

/// An item is where its folder really is; a link itself may lead anywhere.
bool staysWithin(const std::string& word, const std::string& tree) {
    std::error_code error;
    fs::path path(word);
    if (!path.has_filename()) path = path.parent_path();
    const auto real = fs::weakly_canonical(path.parent_path(), error).string();
    return !error && path.filename() != ".." && liesWithin(word, tree) && liesWithin(real, tree);
}

}  // namespace

std::vector<CleanupItem> cleanupItems(const std::vector<std::string>& paths,
                                      const std::string& like) {
    const auto files = systemFiles();
    std::vector<CleanupItem> items;
    for (const auto& path : paths) {
        const auto found = files->identity(path);
        items.push_back({path, found ? *found : files->identity(like).value()});
    }
    return items;
}

std::optional<std::string> wordOutside(const std::string& script, const std::string& tree) {
    std::string_view rest(script);
    while (!rest.empty()) {
        const auto word = takeWord(rest);
        if (!word.starts_with('/') && word.find("..") == word.npos) continue;
        if (word != "/dev/null" && !staysWithin(word, tree)) return word;
    }
    return std::nullopt;
}

int runInTree(const std::string& path, const std::string& tree, const std::string& shell) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream script;
    constexpr std::string_view first = "#!/bin/sh\n";
    if (!(script << file.rdbuf()) || !script.str().starts_with(first)) return -1;
    if (const auto word = wordOutside(script.str().substr(first.size()), tree)) {
        std::cerr << "The script was not run: it names " << *word << "\n";
        return -1;
    }
    const auto line = "cd '" + tree + "' && HOME='" + tree + "' exec " + shell + " '" + path + "'";
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace vestigo::test
