#include "demo/demo_tree.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "demo/mach_o_image.h"

namespace vestigo {

namespace {

using Cpus = std::vector<Cpu>;

const Cpus intel{Cpu::x86_64};
const Cpus oldIntel{Cpu::i386};
const Cpus bothIntel{Cpu::i386, Cpu::x86_64};
const Cpus powerPC{Cpu::ppc};
const Cpus powerPCAndIntel{Cpu::ppc, Cpu::i386};
const Cpus universal{Cpu::x86_64, Cpu::arm64};
const Cpus native{Cpu::arm64};

/// Writes files below a folder. After a failure it goes on, and `succeeded` tells of it at the end.
class TreeMaker {
public:
    explicit TreeMaker(std::string root) : root_(std::move(root)) {}

    [[nodiscard]] bool succeeded() const { return succeeded_; }

    void file(const std::string& path, std::string_view content) {
        const std::filesystem::path whole = root_ + path;
        std::error_code error;
        std::filesystem::create_directories(whole.parent_path(), error);
        std::ofstream stream(whole, std::ios::binary);
        stream.write(content.data(), static_cast<std::streamsize>(content.size())).flush();
        succeeded_ = succeeded_ && !error && stream.good();
    }
    void program(const std::string& path, const Cpus& cpus) { file(path, machOImage(cpus)); }
    /// Only the superuser can read this program, so the user's checks of it fail.
    void lockedProgram(const std::string& path, const Cpus& cpus) {
        program(path, cpus);
        std::error_code error;
        std::filesystem::permissions(root_ + path, std::filesystem::perms::none, error);
        succeeded_ = succeeded_ && !error;
    }
    void script(const std::string& path, std::string_view content) {
        file(path, content);
        std::error_code error;
        std::filesystem::permissions(root_ + path, std::filesystem::perms::owner_all, error);
        succeeded_ = succeeded_ && !error;
    }
    void link(const std::string& path, const std::string& target) {
        const std::filesystem::path whole = root_ + path;
        std::error_code error;
        std::filesystem::create_directories(whole.parent_path(), error);
        std::filesystem::create_symlink(target, whole, error);
        succeeded_ = succeeded_ && !error;
    }
    /// A bundle with its information and main executable.
    void bundle(const std::string& path, const std::string& identifier,
                const std::string& executable, const Cpus& cpus) {
        file(path + "/Contents/Info.plist",
             R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>)" +
                 identifier + R"(</string>
<key>CFBundleExecutable</key><string>)" +
                 executable + R"(</string>
<key>CFBundleShortVersionString</key><string>2.1</string>
</dict></plist>
)");
        program(path + "/Contents/MacOS/" + executable, cpus);
        file(path + "/Contents/Resources/en.lproj/Localizable.strings", R"("Quit" = "Quit";)");
    }
    void framework(const std::string& folder, const std::string& name, const Cpus& cpus) {
        const auto path = folder + '/' + name + ".framework";
        program(path + "/Versions/A/" + name, cpus);
        file(path + "/Versions/A/Resources/Info.plist", R"(<plist version="1.0"><dict/></plist>)");
        link(path + "/Versions/Current", "A");
        link(path + '/' + name, "Versions/Current/" + name);
    }

private:
    std::string root_;
    bool succeeded_ = true;
};

void addApplications(TreeMaker& tree) {
    const std::string studio = "/Applications/Sound Studio.app";
    tree.bundle(studio, "com.example.soundstudio", "Sound Studio", intel);
    tree.framework(studio + "/Contents/Frameworks", "AudioCore", intel);
    tree.program(studio + "/Contents/Frameworks/libmp3.1.dylib", bothIntel);
    tree.bundle(studio + "/Contents/Library/LoginItems/Studio Agent.app",
                "com.example.soundstudio.agent", "Studio Agent", intel);

    const std::string desk = "/Applications/Photo Desk.app";
    tree.bundle(desk, "com.example.photodesk", "Photo Desk", universal);
    // An Intel helper in an application that is universal otherwise.
    tree.program(desk + "/Contents/Helpers/import-helper", intel);

    tree.bundle("/Applications/Old Writer.app", "com.example.oldwriter", "Old Writer", powerPC);
    tree.program("/Applications/Old Writer.app/Contents/MacOS/spelling", powerPCAndIntel);
    tree.bundle("/Applications/Modern Notes.app", "com.example.notes", "Modern Notes", native);
    tree.bundle("/Applications/Locked Box.app", "com.example.lockedbox", "Locked Box", intel);
    tree.lockedProgram("/Applications/Locked Box.app/Contents/Resources/vault", intel);
    tree.bundle(std::string(demoHome) + "/Applications/Kleines \"Spiel\".app", "com.example.spiel",
                "Spiel", oldIntel);
}

void addExtensions(TreeMaker& tree) {
    tree.bundle("/Library/Audio/Plug-Ins/VST/Plate Reverb.vst", "com.example.reverb", "Reverb",
                bothIntel);
    tree.bundle("/Library/Audio/Plug-Ins/Components/Chorus.component", "com.example.chorus",
                "Chorus", intel);
    tree.bundle("/Library/PreferencePanes/Tablet.prefPane", "com.example.tablet", "Tablet",
                powerPCAndIntel);
    tree.bundle("/Library/Extensions/ScannerUSB.kext", "com.example.kext.scanner", "ScannerUSB",
                intel);
    tree.bundle("/Library/Printers/Example/Raster Filter.app", "com.example.raster", "Raster",
                bothIntel);
    tree.framework("/Library/Frameworks", "VideoCodec", intel);
    tree.bundle("/Library/Application Support/Example/Sync Agent.xpc", "com.example.sync",
                "Sync Agent", intel);
    tree.program("/Library/Application Support/Example/updater", oldIntel);
}

void addCommands(TreeMaker& tree) {
    tree.program("/usr/local/Cellar/wget/1.21.4/bin/wget", intel);
    tree.program("/usr/local/Cellar/libpng/1.6.40/lib/libpng16.16.dylib", intel);
    tree.link("/usr/local/bin/wget", "../Cellar/wget/1.21.4/bin/wget");
    tree.link("/usr/local/opt/wget", "../Cellar/wget/1.21.4");
    tree.link("/usr/local/lib/libpng16.16.dylib", "../Cellar/libpng/1.6.40/lib/libpng16.16.dylib");
    tree.program("/opt/homebrew/Cellar/jq/1.7/bin/jq", native);
    tree.program("/opt/homebrew/lib/libold.1.dylib", intel);
    tree.program("/opt/homebrew/Cellar/pngtool/1.2/bin/pngtool", intel);
    tree.program("/opt/local/bin/gsed", intel);
    tree.program("/opt/local/lib/libz.1.dylib", bothIntel);
    tree.program("/usr/local/bin/measure", intel);
    tree.program("/usr/libexec/systemhelperd", intel);
    tree.program("/usr/bin/hello", universal);
}

/// The programs that a reinstall runs. These print what the real ones would, and change nothing.
void addHomebrew(TreeMaker& tree) {
    tree.script("/usr/bin/arch", R"(#!/bin/sh
disk=${0%/usr/bin/arch}
program=$2
shift 2
exec "$disk$program" "$@"
)");
    tree.script("/opt/homebrew/bin/brew", R"(#!/bin/sh
formula=$2
say() { echo "==> $*"; sleep 0.3; }
say "Fetching $formula"
say "Downloading the arm64 build of $formula"
say "Reinstalling $formula"
say "Pouring $formula into /opt/homebrew/Cellar/$formula"
echo "/opt/homebrew/Cellar/$formula: 12 files, 4.1MB"
)");
}

/// The leftovers of the applications, and files that a scan leaves out.
void addSupportFiles(TreeMaker& tree) {
    const auto library = std::string(demoHome) + "/Library";
    tree.file(library + "/Preferences/com.example.soundstudio.plist", "bplist00");
    tree.file(library + "/Application Support/Sound Studio/presets.json", "{}\n");
    tree.file(library + "/Caches/com.example.soundstudio/waveforms", "cached");
    tree.program(library + "/Caches/com.example.oldwriter/helper", intel);
    tree.file(library + "/Application Support/Old Writer/documents.sqlite", "SQLite format 3");
    tree.bundle(library + "/Application Support/Old Writer/Writer Viewer.app",
                "com.example.writerviewer", "Writer Viewer", universal);
    tree.file(library + "/LaunchAgents/com.example.soundstudio.updater.plist", "bplist00");
    tree.file("/Library/LaunchDaemons/com.example.soundstudio.plist", "bplist00");
}

}  // namespace

bool makeDemoTree(const std::string& folder) {
    TreeMaker tree(folder);
    addApplications(tree);
    addExtensions(tree);
    addCommands(tree);
    addHomebrew(tree);
    addSupportFiles(tree);
    return tree.succeeded();
}

}  // namespace vestigo
