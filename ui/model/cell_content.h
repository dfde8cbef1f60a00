// Decides what each cell of the results table shows, in which colour and with which help. These are
// pure functions of a row and the window's model, so a test needs no toolkit.
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
    std::string_view title;          ///< UTF-8. That of a sortable column ends with "↕".
    std::string_view name;           ///< The title that a screen reader speaks.
    std::optional<SortKey> sortKey;  ///< Absent when the column cannot be sorted by.
    /// Width in points for text of 13 points, for `ContentView::columnWidth`. 0 when it is not
    /// fixed.
    double baseWidth;
};

[[nodiscard]] const ColumnTraits& columnTraits(Column column);

/// The item column is the only one that the user can resize. In points.
inline constexpr double itemColumnMinimum = 150;
inline constexpr double itemColumnIdeal = 220;
inline constexpr double itemColumnMaximum = 340;

[[nodiscard]] Tint tintOf(Fix fix);

/// The purpose of the button in a cell. The results view carries it out.
enum class CellAction : std::uint8_t { reveal, inspect, reinstall, copyPath };

/// A symbol in a cell; with an action it is a button.
struct CellSymbol {
    Symbol symbol = Symbol::magnifier;
    Tint tint = Tint::primary;
    std::string_view help;  ///< The tooltip, and the accessible name of a button.
    std::optional<CellAction> action = std::nullopt;
    bool operator==(const CellSymbol&) const = default;
};

struct CellContent {
    std::optional<CellSymbol> symbol = std::nullopt;
    std::string text = {};  ///< UTF-8, except that a path may hold any bytes.
    Tint tint = Tint::primary;
    std::string help = {};     ///< The tooltip of the text; empty when there is none.
    bool symbolFirst = true;   ///< The symbol stands before the text, not behind it.
    double spacing = 0;        ///< The space between symbol and text, in points.
    bool fixedDigits = false;  ///< Draws all digits equally wide, so that they align.
    bool operator==(const CellContent&) const = default;
};

[[nodiscard]] CellContent cellContent(const ContentView& content, const BundleGroup& group,
                                      Column column);

}  // namespace vestigo
