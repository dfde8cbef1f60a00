#include "tests/support/temporary_tree.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace vestigo::test {

namespace fs = std::filesystem;

TemporaryTree::TemporaryTree() {
    auto pattern = (fs::canonical(fs::temp_directory_path()) / "vestigo-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
}

TemporaryTree::~TemporaryTree() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TemporaryTree::at(std::string_view relative) const {
    return path_ + "/" + std::string(relative);
}

std::string TemporaryTree::folder(std::string_view relative) const {
    auto whole = at(relative);
    fs::create_directories(whole);
    return whole;
}

std::string TemporaryTree::file(std::string_view relative, std::string_view content) const {
    auto whole = at(relative);
    fs::create_directories(fs::path(whole).parent_path());
    std::ofstream out(whole, std::ios::binary);
    out << content;
    if (!out.flush()) throw std::runtime_error("cannot write " + whole);
    return whole;
}

bool TemporaryTree::takesAnyName() const {
    const auto path = at("\xFF");
    if (!std::ofstream(path)) return false;
    return fs::remove(path);
}

}  // namespace vestigo::test
