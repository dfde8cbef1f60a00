// Writes the findings as a table for spreadsheets and reports.
#pragma once

#include <string>

#include "engine/records.h"
#include "engine/regrouping.h"

namespace vestigo {

/// The table as text: a header line, then one line for each group in the order given. Every line
/// ends with a line feed. Values are written as they are, byte for byte. The date of creation is in
/// UTC; it is empty when unknown, or when it lies beyond the year 9999, which its form cannot hold.
[[nodiscard]] std::string csvText(const GroupList& groups, const SignatureMap& signatures);

}  // namespace vestigo
