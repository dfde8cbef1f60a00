// The symbols of the window, named after what they show.
#pragma once

#include <cstdint>

namespace vestigo {

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

}  // namespace vestigo
