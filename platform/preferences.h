// The per-user settings store.
#pragma once

#include <memory>
#include <string>

namespace vestigo {

/// One domain of settings. Main thread only. A change is stored at once.
class Preferences {
public:
    virtual ~Preferences() = default;
    /// Whether there is any value at all for the key.
    [[nodiscard]] virtual bool contains(const std::string& key) const = 0;
    /// False when absent or no boolean.
    [[nodiscard]] virtual bool boolean(const std::string& key) const = 0;
    /// 0 when absent or no number.
    [[nodiscard]] virtual int integer(const std::string& key) const = 0;
    virtual void setBoolean(const std::string& key, bool value) = 0;
    virtual void setInteger(const std::string& key, int value) = 0;
};

}  // namespace vestigo
