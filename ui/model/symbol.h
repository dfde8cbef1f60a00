// The symbols and tints of the window. The widgets know how each of them is drawn.
#pragma once

#include <cstdint>

namespace vestigo {

/// Named after the shape, not after the purpose.
enum class Symbol : std::uint8_t {
    magnifier,
    magnifierCircle,
    magnifierCircleFill,
    stopFill,
    folder,
    crossCircleFill,
    trash,
    share,  ///< An arrow that leaves a box upwards.
    copy,   ///< Two sheets of paper.
    checkCircleFill,
    arrowUpCircleFill,
    warningTriangleFill,
    funnel,
};

/// The colour role of a text or symbol. `ui/widgets/theme` has the value for each appearance.
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

}  // namespace vestigo
