// Writes the files of a generated tree, up to a number of files and with a share of Mach-O files.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "demo/mach_o_image.h"

namespace vestigo::bench {

/// Random numbers. The same seed gives the same numbers on every machine.
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
    std::uint64_t files = 0;  ///< Without the files that a scan leaves out.
    unsigned machOPercent = 10;
};

/// The kind of a file's content. The file begins with the bytes that mark this kind.
enum class Content : std::uint8_t { text, propertyList, picture, photo, nib, archive, script };

struct TreeTotals {
    std::uint64_t files = 0;
    std::uint64_t machO = 0;
    std::uint64_t legacy = 0;
    std::uint64_t leftOut = 0;
};

/// Creates the folder of each file when it is missing. Once full, it creates no more files. Ends
/// the program with a message when a file cannot be written.
class TreeWriter {
public:
    TreeWriter(std::string root, TreeSize size, Dice& dice);
    ~TreeWriter();
    TreeWriter(const TreeWriter&) = delete;
    TreeWriter& operator=(const TreeWriter&) = delete;

    [[nodiscard]] bool full() const { return totals_.files >= size_.files; }
    [[nodiscard]] const TreeTotals& totals() const { return totals_; }

    /// Chooses the CPU types of most Mach-O files of the next product.
    void startProduct();
    /// Writes a Mach-O file, or a script where there are too many Mach-O files already.
    void program(const std::string& folder, const std::string& name);
    /// Writes another file, or a tool where there are far too few Mach-O files.
    void resource(const std::string& folder, const std::string& name, Content content);
    /// Writes a file that a scan leaves out because of its name or a folder's.
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
    double owed_ = 0;  ///< How many Mach-O files are missing for the share.
    unsigned product_ = 0;
};

}  // namespace vestigo::bench
