// The settings store that Qt gives on every system.
#pragma once

#include <memory>
#include <string>

#include "platform/preferences.h"

class QSettings;

namespace vestigo {

/// Nothing fails visibly: a value that cannot be stored is remembered until the object dies.
class QtPreferences : public Preferences {
public:
    /// The program's own domain; on a Mac the one that is called like its bundle.
    [[nodiscard]] static std::unique_ptr<QtPreferences> own();
    /// The domain of the product's previous version, "com.tracemole.Tracemole" on macOS. Reading it
    /// leaves no trace.
    [[nodiscard]] static std::unique_ptr<QtPreferences> previousProduct();
    /// A domain in a file of its own, in the form of an INI file.
    [[nodiscard]] static std::unique_ptr<QtPreferences> inFile(const std::string& path);

    ~QtPreferences() override;
    QtPreferences(const QtPreferences&) = delete;
    QtPreferences& operator=(const QtPreferences&) = delete;

    [[nodiscard]] bool contains(const std::string& key) const override;
    [[nodiscard]] bool boolean(const std::string& key) const override;
    [[nodiscard]] int integer(const std::string& key) const override;
    void setBoolean(const std::string& key, bool value) override;
    void setInteger(const std::string& key, int value) override;

private:
    struct Store;
    explicit QtPreferences(std::unique_ptr<Store> store);
    static std::unique_ptr<QtPreferences> in(std::unique_ptr<QSettings> settings);

    std::unique_ptr<Store> store_;
};

}  // namespace vestigo
