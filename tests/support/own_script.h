// Runs clean-up scripts for real, but never on anything outside a test's own tree.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/wait.h>

#include "platform/cleanup_trash.h"
#include "platform/system.h"

namespace vestigo::test {

/// As they are now. One that is not there gets the identity of `like`.
[[nodiscard]] inline std::vector<CleanupItem> cleanupItems(const std::vector<std::string>& paths,
                                                           const std::string& like = "/") {
    const auto files = systemFiles();
    std::vector<CleanupItem> items;
    for (const auto& path : paths) {
        const auto found = files->identity(path);
        items.push_back({path, found ? *found : files->identity(like).value()});
    }
    return items;
}

/// Takes one word, quotes included, from the front of a script; gives what it stands for as far as
/// that can be told without running it.
inline std::string takeWord(std::string_view& rest) {
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

/// An item is where its folder really is; a link itself may lead anywhere.
inline bool staysWithin(const std::string& word, const std::string& tree) {
    std::error_code error;
    std::filesystem::path path(word);
    if (!path.has_filename()) path = path.parent_path();
    const auto real = std::filesystem::weakly_canonical(path.parent_path(), error).string() + "/";
    return !error && path.filename() != ".." && word.starts_with(tree + "/") &&
           real.starts_with(tree + "/");
}

/// Runs the shell script at `path`, with the tree (an absolute path without links in it) as home
/// and working folder and its folder "tools" first in the search path. Its exit status; -1 when it
/// was not run, because a word of it stands for a place outside of the tree, also where only a link
/// leads there, or because it could not be read.
inline int runInTree(const std::string& path, const std::string& tree,
                     const std::string& shell = "/bin/sh") {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream script;
    constexpr std::string_view first = "#!/bin/sh\n";
    if (!(script << file.rdbuf()) || !script.str().starts_with(first)) return -1;
    const auto text = script.str();
    for (auto rest = std::string_view(text).substr(first.size()); !rest.empty();) {
        const auto word = takeWord(rest);
        const bool isPlace = word.starts_with('/') || word.find("..") != word.npos;
        if (!isPlace || word == "/dev/null" || staysWithin(word, tree)) continue;
        std::cerr << "The script was not run: it names " << word << "\n";
        return -1;
    }
    const auto line = "cd '" + tree + "' && HOME='" + tree + "' PATH='" + tree +
                      "/tools:'\"$PATH\" exec " + shell + " '" + path + "'";
    const int status = std::system(line.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace vestigo::test
