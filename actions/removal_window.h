// What a removal sees of the window that asked for it.
#pragma once

#include <string>
#include <vector>

#include "engine/records.h"

namespace vestigo {

/// Main thread only.
class RemovalWindow {
public:
    virtual ~RemovalWindow() = default;
    /// What may be removed of the selection, in the Scanner's order. Good until the groups start
    /// over.
    [[nodiscard]] virtual std::vector<const BundleGroup*> deletableSelection() const = 0;
    /// As the user has ticked them.
    [[nodiscard]] virtual const std::vector<Leftover>& leftovers() const = 0;
    /// Everything has been tried: selection and leftovers become empty, the confirmation closes.
    virtual void removalEnded() = 0;
    virtual void showAlert(std::string message) = 0;
};

}  // namespace vestigo
