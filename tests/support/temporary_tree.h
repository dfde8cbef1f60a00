// A folder of its own for one test, gone with it.
#pragma once

#include <string>
#include <string_view>

namespace vestigo::test {

class TemporaryTree {
public:
    TemporaryTree();
    ~TemporaryTree();
    TemporaryTree(const TemporaryTree&) = delete;
    TemporaryTree& operator=(const TemporaryTree&) = delete;

    /// Absolute, without links in it and without a trailing slash.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// path() + "/" + relative.
    [[nodiscard]] std::string at(std::string_view relative) const;
    /// Makes the folder, with its parents; gives its absolute path.
    std::string folder(std::string_view relative) const;
    /// Writes the file, with its parents; gives its absolute path.
    std::string file(std::string_view relative, std::string_view content = "") const;
    /// Whether names need not be UTF-8 here: a Mac's file systems refuse others.
    [[nodiscard]] bool takesAnyName() const;

private:
    std::string path_;
};

}  // namespace vestigo::test
