#include "bench/tree_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"

namespace vestigo::bench {

namespace {

/// The rest of a file beyond this is a hole, so that a big tree fits on a small disk.
constexpr std::size_t writtenAtMost = 6 * 1024;

struct MachOKind {
    unsigned percent;
    bool legacy;
    std::vector<Cpu> cpus;
};

const std::vector<MachOKind>& machOKinds() {
    static const std::vector<MachOKind> kinds{
        {20, true, {Cpu::x86_64}},
        {4, true, {Cpu::i386, Cpu::x86_64}},
        {3, true, {Cpu::i386}},
        {4, true, {Cpu::ppc, Cpu::i386}},
        {2, true, {Cpu::ppc}},
        {1, true, {Cpu::ppc, Cpu::ppc64, Cpu::i386, Cpu::x86_64}},
        {46, false, {Cpu::x86_64, Cpu::arm64}},
        {19, false, {Cpu::arm64}},
        {1, false, {Cpu::arm}},
    };
    return kinds;
}

std::size_t sizeOf(Content content, Dice& dice) {
    switch (content) {
        case Content::text: return dice.number(100, dice.chance(30) ? 24'000 : 6'000);
        case Content::propertyList: return dice.number(300, 3'000);
        case Content::picture: return dice.number(400, dice.chance(20) ? 40'000 : 8'000);
        case Content::photo: return dice.number(20'000, 300'000);
        case Content::nib: return dice.number(1'000, 30'000);
        case Content::archive: return dice.number(2'000, 200'000);
        case Content::script: return dice.number(60, 4'000);
    }
    return 0;
}

std::string_view firstBytes(Content content) {
    using namespace std::string_view_literals;
    switch (content) {
        case Content::text: return ""sv;
        case Content::propertyList:
            return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist>\n"sv;
        case Content::picture: return "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x20\0\0\0\x20\x08\x06"sv;
        case Content::photo: return "\xFF\xD8\xFF\xE0\0\x10JFIF\0"sv;
        case Content::nib: return "bplist00"sv;
        case Content::archive: return "PK\x03\x04\x14\0\0\0\x08\0"sv;
        case Content::script: return "#!/bin/sh\n"sv;
    }
    return {};
}

bool isText(Content content) {
    return content == Content::text || content == Content::propertyList ||
           content == Content::script;
}

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "vestigo-make-tree: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

void createFolders(std::string path) {
    if (mkdir(path.c_str(), 0755) == 0 || errno == EEXIST) return;
    if (errno != ENOENT) fail(path);
    createFolders(std::string(vestigo::folderOf(path)));
    if (mkdir(path.c_str(), 0755) != 0) fail(path);
}

}  // namespace

unsigned Dice::number(unsigned low, unsigned high) {
    return low + static_cast<unsigned>(engine_() % (high - low + 1));
}

std::string_view Dice::oneOf(const std::vector<std::string_view>& choices) {
    return choices[number(0, static_cast<unsigned>(choices.size()) - 1)];
}

TreeWriter::TreeWriter(std::string root, TreeSize size, Dice& dice)
    : root_(std::move(root)), size_(size), dice_(dice) {
    while (text_.size() < 64 * 1024) {
        text_.append(dice_.number(2, 11), static_cast<char>('a' + dice_.number(0, 25)));
        text_ += dice_.chance(12) ? '\n' : ' ';
        noise_ += static_cast<char>(dice_.number(0, 255));
    }
    while (noise_.size() < 64 * 1024) noise_ += static_cast<char>(dice_.number(0, 255));
}

TreeWriter::~TreeWriter() {
    if (folder_ >= 0) close(folder_);
}

void TreeWriter::startProduct() {
    product_ = dice_.number(1, 100);
}

/// Whether the next file is to be Mach-O. With more patience, it waits until more are missing, so
/// that they gather where they are on a Mac, and are not spread evenly.
bool TreeWriter::takesMachO(double patience) {
    const double share = size_.machOPercent / 100.0;
    owed_ += share;
    if (owed_ < patience * (1 - share) || share <= 0) return false;
    owed_ -= 1;
    return true;
}

void TreeWriter::program(const std::string& folder, const std::string& name) {
    if (full()) return;
    enter(folder);
    if (takesMachO(-20)) return writeMachO(name);
    write(name, body(Content::script, 600), 600, false);
    ++totals_.files;
}

void TreeWriter::resource(const std::string& folder, const std::string& name, Content content) {
    if (full()) return;
    enter(folder);
    if (takesMachO(20)) return writeMachO(name);
    const auto size = dice_.chance(5) ? 0 : sizeOf(content, dice_);
    write(name, body(content, std::min(size, writtenAtMost)), size, false);
    ++totals_.files;
}

void TreeWriter::leftOut(const std::string& folder, const std::string& name) {
    if (full()) return;
    enter(folder);
    write(name, body(Content::nib, 2'000), 2'000, false);
    ++totals_.leftOut;
}

void TreeWriter::link(const std::string& folder, const std::string& name,
                      const std::string& target) {
    if (full()) return;
    enter(folder);
    if (symlinkat(target.c_str(), folder_, name.c_str()) != 0) fail(folder + '/' + name);
}

/// Nine in ten Mach-O files of a product have the product's CPU types.
void TreeWriter::writeMachO(const std::string& name) {
    auto dice = dice_.chance(90) ? product_ : dice_.number(1, 100);
    auto kind = machOKinds().begin();
    while (dice > kind->percent) dice -= (kind++)->percent;
    write(name, machOImage(kind->cpus), dice_.number(8'000, 400'000), true);
    ++totals_.files;
    ++totals_.machO;
    if (kind->legacy) ++totals_.legacy;
}

void TreeWriter::enter(const std::string& folder) {
    if (folder == current_ && folder_ >= 0) return;
    const auto path = folder.empty() ? root_ : root_ + '/' + folder;
    createFolders(path);
    if (folder_ >= 0) close(folder_);
    folder_ = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0) fail(path);
    current_ = folder;
}

/// The execute permission tells the floor program that a file is Mach-O.
void TreeWriter::write(const std::string& name, std::string_view head, std::size_t size,
                       bool executable) {
    const mode_t mode = executable ? 0755 : 0644;
    const int file = openat(folder_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) fail(current_ + '/' + name);
    const auto written = ::write(file, head.data(), head.size());
    const bool whole = written == static_cast<ssize_t>(head.size()) &&
                       (size <= head.size() || ftruncate(file, static_cast<off_t>(size)) == 0);
    if (close(file) != 0 || !whole) fail(current_ + '/' + name);
}

std::string TreeWriter::body(Content content, std::size_t size) {
    std::string bytes(firstBytes(content));
    const auto& source = isText(content) ? text_ : noise_;
    if (bytes.size() < size) bytes.append(source, dice_.number(0, 32 * 1024), size - bytes.size());
    bytes.resize(size);
    return bytes;
}

}  // namespace vestigo::bench
