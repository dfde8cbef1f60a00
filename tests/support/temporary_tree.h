// A folder of its own for one test or benchmark, gone with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace vestigo::test {

class TemporaryTree {
public:
    TemporaryTree() {
        namespace fs = std::filesystem;
        path_ = (fs::canonical(fs::temp_directory_path()) / "vestigo-test-XXXXXX").string();
        if (!mkdtemp(path_.data())) throw std::runtime_error("no temporary folder");
    }
    ~TemporaryTree() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryTree(const TemporaryTree&) = delete;
    TemporaryTree& operator=(const TemporaryTree&) = delete;

    /// Absolute, without links in it and without a trailing slash.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string at(std::string_view relative) const {
        return path_ + "/" + std::string(relative);
    }
    /// Makes the folder, with its parents; gives its absolute path.
    std::string folder(std::string_view relative) const {
        std::filesystem::create_directories(at(relative));
        return at(relative);
    }
    /// Writes the file, with its parents; gives its absolute path.
    std::string file(std::string_view relative, std::string_view content = "") const {
        auto whole = at(relative);
        std::filesystem::create_directories(std::filesystem::path(whole).parent_path());
        std::ofstream out(whole, std::ios::binary);
        if (!out.write(content.data(), std::ssize(content)).flush()) {
            throw std::runtime_error("cannot write " + whole);
        }
        return whole;
    }
    /// Whether names need not be UTF-8 here: a Mac's file systems refuse others.
    [[nodiscard]] bool takesAnyName() const {
        return std::ofstream(at("\xFF")) && std::filesystem::remove(at("\xFF"));
    }

private:
    std::string path_;
};

}  // namespace vestigo::test
