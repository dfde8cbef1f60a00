// The findings as a table for spreadsheets and reports.
#pragma once

#include <string>

#include "engine/records.h"
#include "engine/regrouping.h"

namespace vestigo {

/// A header line, then one line per group in the order given; every line ends with a line feed.
/// Values are written as the bytes they are. The date of creation is in UTC; it is left empty when
/// unknown and when it lies beyond the year 9999, which the date's form cannot hold.
[[nodiscard]] std::string csvText(const GroupList& groups, const SignatureMap& signatures);

}  // namespace vestigo
