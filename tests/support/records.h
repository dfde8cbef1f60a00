// Findings and saved scans that are made up.
#pragma once

#include <memory>
#include <utility>

#include "engine/records.h"

namespace vestigo::test {

inline HitRef hitRef(BinaryHit hit) {
    return std::make_shared<const BinaryHit>(std::move(hit));
}

inline ScanFile savedScan(HitList hits = {}) {
    return {.version = scanFileVersion,
            .roots = {"/"},
            .hits = std::move(hits),
            .signatures = SignatureMap()};
}

}  // namespace vestigo::test
