// Decides as cheaply as possible which names a scan leaves out.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace vestigo::bench {

/// True for hidden entries, "." and "..", and for names that a scan never records or enters.
inline bool isFolderOrFileLeftOut(std::string_view name) {
    using namespace std::string_view_literals;
    if (name.front() == '.') return true;
    switch (name.size()) {
        case 5: return name == "Biome"sv;
        case 6: return name == "Caches"sv;
        case 8: return name == "Homebrew"sv;
        case 11: return name == "DerivedData"sv;
        case 12: return name == "node_modules"sv || name == "CloudStorage"sv;
        case 16: return name == "Mobile Documents"sv;
        default: return false;
    }
}

/// True for the suffixes of database files, in upper or lower case.
inline bool isDatabase(std::string_view name) {
    using namespace std::string_view_literals;
    static constexpr std::array endings{".db"sv,      ".wal"sv,        ".shm"sv,
                                        ".db-wal"sv,  ".db-shm"sv,     ".sqlite"sv,
                                        ".sqlite3"sv, ".sqlite-wal"sv, ".sqlite-shm"sv};
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    const auto last = lower(name.back());
    if (last != 'b' && last != 'l' && last != 'm' && last != 'e' && last != '3') return false;
    return std::ranges::any_of(endings, [&](std::string_view ending) {
        return name.size() >= ending.size() &&
               std::ranges::equal(name.substr(name.size() - ending.size()), ending, {}, lower);
    });
}

}  // namespace vestigo::bench
