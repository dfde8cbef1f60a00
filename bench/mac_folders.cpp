#include "bench/mac_folders.h"

#include <array>

namespace vestigo::bench {

namespace {

using std::to_string;

/// Passed to each function that makes a product or a part of one.
struct Site {
    TreeWriter& tree;
    Dice& dice;
    unsigned serial;  ///< Distinguishes products of the same kind.

    [[nodiscard]] std::string vendor() const { return "Vendor " + to_string(serial / 40); }
};

const std::vector<std::string_view>& languages() {
    static const std::vector<std::string_view> names{
        "en.lproj", "de.lproj", "fr.lproj", "ja.lproj",    "zh-Hans.lproj", "es.lproj",  "it.lproj",
        "ko.lproj", "nl.lproj", "ru.lproj", "pt-BR.lproj", "sv.lproj",      "Base.lproj"};
    return names;
}

void pictures(const Site& site, const std::string& folder, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        const auto name = std::string(site.dice.oneOf({"icon", "Toolbar Item", "état", "bg_tile"}));
        site.tree.resource(folder, name + '-' + to_string(i) + (i % 3 == 0 ? "@2x.png" : ".png"),
                           Content::picture);
    }
}

void translations(const Site& site, const std::string& folder) {
    const auto count = site.dice.number(1, static_cast<unsigned>(languages().size()));
    for (unsigned i = 0; i < count; ++i) {
        const auto language = folder + '/' + std::string(languages()[i]);
        site.tree.resource(language, "InfoPlist.strings", Content::propertyList);
        site.tree.resource(language, "Localizable.strings", Content::text);
        for (unsigned nib = site.dice.number(0, 4); nib > 0; --nib) {
            site.tree.resource(language, "Window " + to_string(nib) + ".nib", Content::nib);
        }
    }
}

void headers(const Site& site, const std::string& folder, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        site.tree.resource(folder, "part_" + to_string(i) + ".h", Content::text);
    }
}

/// A kernel extension, plug-in or helper: one executable and its resources.
void smallBundle(const Site& site, const std::string& path, const std::string& name) {
    site.tree.resource(path + "/Contents", "Info.plist", Content::propertyList);
    site.tree.program(path + "/Contents/MacOS", name);
    pictures(site, path + "/Contents/Resources", site.dice.number(0, 12));
    if (site.dice.chance(40)) translations(site, path + "/Contents/Resources");
    site.tree.resource(path + "/Contents/_CodeSignature", "CodeResources", Content::propertyList);
}

void framework(const Site& site, const std::string& folder, const std::string& name) {
    const auto path = folder + '/' + name + ".framework";
    site.tree.program(path + "/Versions/A", name);
    if (site.dice.chance(30)) headers(site, path + "/Versions/A/Headers", site.dice.number(2, 30));
    site.tree.resource(path + "/Versions/A/Resources", "Info.plist", Content::propertyList);
    translations(site, path + "/Versions/A/Resources");
    site.tree.link(path + "/Versions", "Current", "A");
    site.tree.link(path, name, "Versions/Current/" + name);
}

void innerParts(const Site& site, const std::string& contents, const std::string& name) {
    for (unsigned i = site.dice.number(0, 4); i > 0; --i) {
        framework(site, contents + "/Frameworks", "Core" + to_string(i));
    }
    for (unsigned i = site.dice.number(0, 5); i > 0; --i) {
        site.tree.program(contents + "/Frameworks", "lib" + to_string(i) + ".2.dylib");
    }
    for (unsigned i = site.dice.number(0, 2); i > 0; --i) {
        smallBundle(site, contents + "/PlugIns/Import " + to_string(i) + ".appex", "Import");
    }
    if (site.dice.chance(25)) {
        smallBundle(site, contents + "/XPCServices/org.example.agent.xpc", "agent");
    }
    if (site.dice.chance(20)) {
        smallBundle(site, contents + "/Library/LoginItems/" + name + " Helper.app", "Helper");
    }
}

void application(const Site& site) {
    const auto name = std::string(site.dice.oneOf({"Editor", "Mixer", "Photo Lab", "Übersicht"})) +
                      ' ' + to_string(site.serial);
    const auto contents = "Applications/" + site.vendor() + '/' + name + ".app/Contents";
    site.tree.resource(contents, "Info.plist", Content::propertyList);
    site.tree.resource(contents, "PkgInfo", Content::text);
    site.tree.program(contents + "/MacOS", name);
    innerParts(site, contents, name);
    for (unsigned i = site.dice.number(1, 4); i > 0; --i) {
        pictures(site, contents + "/Resources/Set " + to_string(i), site.dice.number(10, 60));
    }
    translations(site, contents + "/Resources");
    site.tree.leftOut(contents + "/Resources", "index.sqlite");
}

void kernelExtension(const Site& site) {
    const auto name = "Driver" + to_string(site.serial);
    smallBundle(site, "Library/Extensions/" + name + ".kext", name);
    smallBundle(site, "Library/Printers/" + site.vendor() + '/' + name + ".bundle", name);
}

void plugIn(const Site& site) {
    const auto name = "Synth " + to_string(site.serial);
    const auto folder = "Library/Audio/Plug-Ins/";
    smallBundle(site, folder + ("Components/" + name) + ".component", name);
    smallBundle(site, folder + ("VST/" + name) + ".vst", name);
    smallBundle(site, "Library/PreferencePanes/" + name + ".prefPane", name);
}

void keg(const Site& site) {
    const auto name = "formula-" + to_string(site.serial);
    const auto path = (site.serial % 2 == 0 ? "usr/local/Cellar/" : "opt/local/lib/") + name +
                      "/1." + to_string(site.serial % 30);
    for (unsigned i = site.dice.number(1, 6); i > 0; --i) {
        site.tree.program(path + "/bin", name + '-' + to_string(i));
    }
    for (unsigned i = site.dice.number(0, 4); i > 0; --i) {
        const auto library = "lib" + name + '-' + to_string(i);
        site.tree.program(path + "/lib", library + ".1.dylib");
        site.tree.link(path + "/lib", library + ".dylib", library + ".1.dylib");
    }
    headers(site, path + "/include/" + name, site.dice.number(0, 60));
    for (unsigned i = site.dice.number(0, 10); i > 0; --i) {
        site.tree.resource(path + "/share/man/man1", "tool" + to_string(i) + ".1", Content::text);
    }
    site.tree.resource(path, "INSTALL_RECEIPT.json", Content::text);
    site.tree.leftOut(path + "/.brew", name + ".rb");
}

void supportFolder(const Site& site) {
    const auto library = "Users/anna/Library/";
    const auto name = "org.example.app" + to_string(site.serial);
    const auto folder = library + ("Application Support/" + site.vendor()) + '/' + name;
    for (unsigned i = site.dice.number(2, 50); i > 0; --i) {
        site.tree.resource(folder, "state-" + to_string(i) + ".json", Content::text);
    }
    for (unsigned i = site.dice.number(0, 40); i > 0; --i) {
        site.tree.resource(folder + "/blobs/" + to_string(i % 8), to_string(i * 7919),
                           i % 4 == 0 ? Content::archive : Content::nib);
    }
    site.tree.resource(library + ("Preferences/" + site.vendor()), name + ".plist", Content::nib);
    site.tree.leftOut(folder, "store.db");
    site.tree.leftOut(folder, "store.db-wal");
    for (unsigned i = site.dice.number(0, 12); i > 0; --i) {
        site.tree.leftOut(library + ("Caches/" + name), "entry " + to_string(i));
    }
}

void documents(const Site& site) {
    auto folder = "Users/anna/Documents/Projekte/Jahr " + to_string(2001 + site.serial % 25) + '/' +
                  to_string(site.serial);
    for (unsigned depth = site.dice.number(1, 4); depth > 0; --depth) {
        for (unsigned i = site.dice.number(1, 15); i > 0; --i) {
            const bool photo = site.dice.chance(60);
            site.tree.resource(
                folder,
                (photo ? "IMG_" : "Brief an Jürgen ") + to_string(i) + (photo ? ".jpg" : ".docx"),
                photo ? Content::photo : Content::archive);
        }
        site.tree.leftOut(folder, ".DS_Store");
        folder += "/Ordner " + to_string(depth);
    }
}

void sourceTree(const Site& site) {
    const auto path = "Users/anna/src/project" + to_string(site.serial);
    for (unsigned i = site.dice.number(1, 12); i > 0; --i) {
        const auto folder = path + "/src/module_" + to_string(i % 5) + "/part_" + to_string(i);
        for (unsigned k = site.dice.number(2, 20); k > 0; --k) {
            site.tree.resource(folder, "unit" + to_string(k) + (k % 2 == 0 ? ".c" : ".h"),
                               Content::text);
        }
        site.tree.program(path + "/build/objects", "unit" + to_string(i) + ".o");
    }
    site.tree.resource(path, "configure", Content::script);
    for (unsigned i = site.dice.number(0, 10); i > 0; --i) {
        site.tree.leftOut(path + "/.git/objects/0" + to_string(i % 4), to_string(i * 104729));
        site.tree.leftOut(path + "/node_modules/left" + to_string(i), "index.js");
    }
}

}  // namespace

void fillDisk(TreeWriter& writer, Dice& dice) {
    struct Kind {
        unsigned perHundred;
        void (*make)(const Site&);
    };
    constexpr std::array kinds{Kind{22, application}, Kind{6, kernelExtension}, Kind{8, plugIn},
                               Kind{20, keg},         Kind{20, supportFolder},  Kind{14, documents},
                               Kind{10, sourceTree}};
    for (unsigned serial = 0; !writer.full(); ++serial) {
        auto pick = dice.number(1, 100);
        auto kind = kinds.begin();
        while (pick > kind->perHundred) pick -= (kind++)->perHundred;
        writer.startProduct();
        kind->make({writer, dice, serial});
    }
}

}  // namespace vestigo::bench
