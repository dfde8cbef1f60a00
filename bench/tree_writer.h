// Writes the files of a generated tree, keeping to a number of files and a share of Mach-O files.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "demo/mach_o_image.h"

namespace vestigo::bench {

/// The same numbers for the same seed on every machine.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}
    /// From low to high, both included.
    unsigned number(unsigned low, unsigned high);
    bool chance(unsigned percent) { return number(1, 100) <= percent; }
    std::string_view oneOf(const std::vector<std::string_view>& choices);

private:
    std::mt19937_64 engine_;
};

struct TreeSize {
    std::uint64_t files = 0;  ///< Those that a scan looks at; what it leaves out comes on top.
    unsigned machOPercent = 10;
};

/// What stands in a file; the first bytes are those of the real kind.
enum class Content : std::uint8_t { text, propertyList, picture, photo, nib, archive, script };

struct TreeTotals {
    std::uint64_t files = 0;
    std::uint64_t machO = 0;
    std::uint64_t legacy = 0;
    std::uint64_t leftOut = 0;
};

/// Creates the folder of each file as needed. Ends the program with a message on a write error.
/// Once full it creates nothing more.
class TreeWriter {
public:
    TreeWriter(std::string root, TreeSize size, Dice& dice);
    ~TreeWriter();
    TreeWriter(const TreeWriter&) = delete;
    TreeWriter& operator=(const TreeWriter&) = delete;

    [[nodiscard]] bool full() const { return totals_.files >= size_.files; }
    [[nodiscard]] const TreeTotals& totals() const { return totals_; }

    /// Takes the CPU types that most Mach-O files of the next product will have.
    void startProduct();
    /// A file that is Mach-O on a Mac; a script in its place where the share is exceeded.
    void program(const std::string& folder, const std::string& name);
    /// A file that is none; a tool in its place where the share is far from reached.
    void resource(const std::string& folder, const std::string& name, Content content);
    /// A file that a scan leaves out, by its own name or a folder's.
    void leftOut(const std::string& folder, const std::string& name);
    void link(const std::string& folder, const std::string& name, const std::string& target);

private:
    void enter(const std::string& folder);
    void write(const std::string& name, std::string_view head, std::size_t size, bool executable);
    void writeMachO(const std::string& name);
    [[nodiscard]] std::string body(Content content, std::size_t size);
    [[nodiscard]] bool takesMachO(double patience);

    std::string root_;
    TreeSize size_;
    Dice& dice_;
    TreeTotals totals_;
    std::string text_;
    std::string noise_;
    std::string current_;
    int folder_ = -1;
    double owed_ = 0;  ///< Mach-O files that the share asks for and that are not there yet.
    unsigned product_ = 0;
};

}  // namespace vestigo::bench
