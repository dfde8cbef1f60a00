// What the cells of the results table say: pure functions of a row and the window's model. Knows no
// toolkit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/records.h"
#include "ui/model/content_view.h"
#include "ui/model/symbol.h"

namespace vestigo {

/// The columns from left to right.
enum class Column : std::uint8_t {
    reveal,
    category,
    cpu,
    components,
    created,
    vendor,
    fix,
    protection,
    item,
    path,
};

inline constexpr std::size_t columnCount = 10;

struct ColumnTraits {
    std::string_view title;          ///< UTF-8. Sortable ones end with their mark.
    std::optional<SortKey> sortKey;  ///< Absent: the column cannot be sorted by.
    /// Points at 13-point text; fixed, to be passed through `columnWidth`. 0: not fixed.
    double baseWidth;
};

[[nodiscard]] const ColumnTraits& columnTraits(Column column);

/// The one resizable column's width, in points.
inline constexpr double itemColumnMinimum = 150;
inline constexpr double itemColumnIdeal = 220;
inline constexpr double itemColumnMaximum = 340;

/// How a text or symbol is coloured. `colors.h` has the values.
enum class Tint : std::uint8_t {
    primary,
    secondary,
    tertiary,
    red,
    purple,
    green,
    blue,
    orange,
    fixApple,
    fixPackageManager,
    fixManual,
    fixKeep,
};

[[nodiscard]] Tint tintOf(Fix fix);

enum class CellAction : std::uint8_t { reveal, inspect, reinstall, copyPath };

/// A symbol in a cell; with an action it is a button.
struct CellSymbol {
    Symbol symbol = Symbol::magnifier;
    Tint tint = Tint::primary;
    std::string_view help;  ///< Tooltip, and a button's accessible name.
    std::optional<CellAction> action = std::nullopt;
    bool operator==(const CellSymbol&) const = default;
};

struct CellContent {
    std::optional<CellSymbol> symbol = std::nullopt;
    std::string text = {};  ///< Bytes; UTF-8 where it is text.
    Tint tint = Tint::primary;
    std::string help = {};     ///< Tooltip of the text; empty: none.
    bool symbolFirst = true;   ///< The symbol stands before the text, else behind it.
    double spacing = 0;        ///< Points between the two.
    bool fixedDigits = false;  ///< Digits of equal width.
    bool operator==(const CellContent&) const = default;
};

[[nodiscard]] CellContent cellContent(const ContentView& content, const BundleGroup& group,
                                      Column column);

/// Does what a cell's button is there for.
void perform(CellAction action, ContentView& content, const BundleGroup& group);

}  // namespace vestigo
