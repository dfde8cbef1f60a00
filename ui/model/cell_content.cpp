#include "ui/model/cell_content.h"

#include <utility>

#include "engine/grouping.h"
#include "engine/removal_guard.h"
#include "platform/clock.h"

namespace vestigo {
namespace {

constexpr std::string_view noValue = "—";
constexpr std::string_view pendingValue = "…";

constexpr std::string_view powerPCHelp =
    "Contains PowerPC code. Dead since around 2011, it will not run at all on this Mac.";
constexpr std::string_view cpuHelp =
    "CPU types of the legacy binaries inside this bundle. Right-click → Inspect Binaries for the "
    "full breakdown.";
constexpr std::string_view componentsHelp =
    "How many binaries inside are built only for old CPUs (Intel or PowerPC) and won't run "
    "natively. If the app is Universal these are dormant — see Fix = Keep. Click the ⓘ to inspect "
    "them.";
constexpr std::string_view keepHelp =
    "This bundle also has an arm64 build, so it runs on Apple Silicon. The Intel part is dormant, "
    "often copy protection such as PACE or iLok. Deleting it gains nothing and can break the "
    "plugin.";

std::string orDash(std::string text) {
    return text.empty() ? std::string(noValue) : std::move(text);
}

/// Returns `tint`, or the tint of text that is greyed out where Apple signed the group.
Tint greyedIfApple(Tint tint, const ContentView& content, const BundleGroup& group) {
    return content.scanner().isAppleSigned(group.root) ? Tint::tertiary : tint;
}

CellContent revealCell() {
    return {.symbol = CellSymbol{Symbol::magnifierCircle, Tint::primary, "Reveal in Finder",
                                 CellAction::reveal}};
}

CellContent cpuCell(const BundleGroup& group) {
    const bool powerPC = group.hasPowerPC();
    return {.symbol = {},
            .text = orDash(group.cpuSummary()),
            .tint = powerPC ? Tint::purple : Tint::secondary,
            .help = std::string(powerPC ? powerPCHelp : cpuHelp)};
}

CellContent componentsCell(const ContentView& content, const BundleGroup& group) {
    CellContent cell{
        .symbol = CellSymbol{Symbol::magnifierCircleFill, Tint::blue,
                             "Inspect every binary inside this bundle", CellAction::inspect},
        .text = std::to_string(group.legacyCount()),
        .tint = greyedIfApple(Tint::red, content, group),
        .help = std::string(componentsHelp),
        .spacing = 6,
        .fixedDigits = true};
    if (content.updatedIDs().contains(group.root)) {
        cell.text = "arm64 ✓";
        cell.tint = Tint::green;
    }
    return cell;
}

CellContent createdCell(const ContentView& content, const BundleGroup& group) {
    return {.symbol = {},
            .text = orDash(calendarDate(group.created())),
            .tint = greyedIfApple(Tint::secondary, content, group),
            .help = {},
            .fixedDigits = true};
}

CellContent vendorCell(const ContentView& content, const BundleGroup& group) {
    const auto& signatures = content.scanner().signatures();
    const auto signature = signatures.find(group.root);
    return {.symbol = {},
            .text = signature == signatures.end() ? std::string(pendingValue)
                                                  : signature->second.vendor,
            .tint = greyedIfApple(Tint::secondary, content, group)};
}

CellContent fixCell(const ContentView& content, const BundleGroup& group) {
    CellContent cell{.symbol = {},
                     .text = std::string(label(group.fix)),
                     .tint = tintOf(group.fix),
                     .help = std::string(group.fix == Fix::keep ? keepHelp : std::string_view()),
                     .symbolFirst = false,
                     .spacing = 5};
    // Without the name of a formula there is nothing that Homebrew could reinstall.
    if (group.fix != Fix::homebrew || !formulaName(group.root)) return cell;
    if (content.updatedIDs().contains(group.root)) {
        cell.symbol =
            CellSymbol{Symbol::checkCircleFill, Tint::green, "Updated to arm64 this session", {}};
    } else {
        cell.symbol = CellSymbol{Symbol::arrowUpCircleFill, tintOf(Fix::homebrew),
                                 "Reinstall the arm64 build via Homebrew", CellAction::reinstall};
    }
    return cell;
}

CellContent pathCell(const ContentView& content, const BundleGroup& group) {
    const bool copied = content.copiedPath() == group.root;
    return {.symbol = CellSymbol{copied ? Symbol::checkCircleFill : Symbol::copy,
                                 copied ? Tint::green : Tint::secondary, "Copy path to clipboard",
                                 CellAction::copyPath},
            .text = group.root,
            .tint = Tint::secondary,
            .help = group.root,
            .spacing = 6};
}

CellContent plainCell(std::string_view text, Tint tint) {
    return {.symbol = {}, .text = std::string(text), .tint = tint};
}

}  // namespace

const ColumnTraits& columnTraits(Column column) {
    static constexpr ColumnTraits traits[columnCount] = {
        {"", "Reveal", {}, 34},
        {"Category ↕", "Category", SortKey::categoryName, 94},
        {"CPU ↕", "CPU", SortKey::cpuSummary, 160},
        {"Components ↕", "Components", SortKey::legacyCount, 120},
        {"Created ↕", "Created", SortKey::created, 96},
        {"Vendor", "Vendor", {}, 140},
        {"Fix ↕", "Fix", SortKey::fixRank, 108},
        {"Protected", "Protected", {}, 70},
        {"Item ↕", "Item", SortKey::name, 0},
        {"Path ↕", "Path", SortKey::root, 0},
    };
    return traits[static_cast<std::size_t>(column)];
}

Tint tintOf(Fix fix) {
    switch (fix) {
        case Fix::apple: return Tint::fixApple;
        case Fix::homebrew:
        case Fix::macports: return Tint::fixPackageManager;
        case Fix::manual: return Tint::fixManual;
        case Fix::keep: return Tint::fixKeep;
    }
    return Tint::primary;
}

CellContent cellContent(const ContentView& content, const BundleGroup& group, Column column) {
    switch (column) {
        case Column::reveal: return revealCell();
        case Column::category:
            return plainCell(group.categoryName(), greyedIfApple(Tint::primary, content, group));
        case Column::cpu: return cpuCell(group);
        case Column::components: return componentsCell(content, group);
        case Column::created: return createdCell(content, group);
        case Column::vendor: return vendorCell(content, group);
        case Column::fix: return fixCell(content, group);
        case Column::protection:
            return plainCell(isProtected(group.root) ? "SIP" : noValue, Tint::secondary);
        case Column::item:
            return plainCell(group.name(), greyedIfApple(Tint::primary, content, group));
        case Column::path: return pathCell(content, group);
    }
    return {};
}

}  // namespace vestigo
