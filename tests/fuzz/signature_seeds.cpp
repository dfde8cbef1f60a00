// signature_seeds FOLDER: writes one input of each kind that fuzz_signature knows.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/support/mach_o_maker.h"
#include "tests/support/signed_mach_o.h"

namespace vestigo::test {
namespace {

void write(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

void writeSeeds(const std::filesystem::path& folder) {
    const auto message = signatureMessage();
    const auto signature = embeddedSignature("AB12CD34EF", message);
    const auto image = machOImage(cpuX86_64, signature);
    write(folder / "image64", image);
    write(folder / "image32", machOImage(cpuI386, signature));
    write(folder / "big-endian", machOImage(cpuPpc, signature, true));
    write(folder / "unsigned", machOImage(cpuX86_64, std::nullopt));
    write(folder / "universal", universalFile({{cpuX86_64, image}}));
    write(folder / "wide", universalFile({{cpuArm64, image}}, true));
    write(folder / "directory", codeDirectory("AB12CD34EF"));
    write(folder / "message", message);
    write(folder / "message-by-key", signatureMessage({.byKeyIdentifier = true}));
    write(folder / "plist",
          "<plist><dict><key>CFBundleExecutable</key><string>Tool</string></dict></plist>");
    write(
        folder / "binary-plist",
        "bplist00" +
            std::string("\xD1\x01\x02\x51"
                        "a\x51"
                        "b\x08\x0B\x0D",
                        10) +
            std::string("\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0F", 32));
}

}  // namespace
}  // namespace vestigo::test

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: signature_seeds FOLDER\n";
        return 2;
    }
    std::filesystem::create_directories(arguments[1]);
    vestigo::test::writeSeeds(arguments[1]);
    return 0;
}
