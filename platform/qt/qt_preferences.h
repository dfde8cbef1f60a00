// The settings store that Qt offers on every system.
#pragma once

#include <QSettings>
#include <QString>
#include <memory>
#include <string>

#include "platform/preferences.h"

namespace vestigo {

/// The names from which Qt derives the place of the settings.
struct SettingsNames {
    QString organisation;
    QString application;
};

/// On a Mac these name the domain with the bundle's identifier, where `defaults` and frameworks
/// look too; elsewhere one file in the folder "Vestigo".
[[nodiscard]] SettingsNames settingsNames(bool onMac, const QString& file);

/// The user's settings in this file, named without its ending. On a Mac all files share the one
/// domain.
[[nodiscard]] std::unique_ptr<QSettings> ownSettings(const QString& file);

/// Reports no failures: a value that cannot be stored is remembered until the object is destroyed.
class QtPreferences : public Preferences {
public:
    /// The program's own domain; on a Mac it has the identifier of the bundle.
    [[nodiscard]] static std::unique_ptr<QtPreferences> own();
    /// The domain of the product's previous version, "com.tracemole.Tracemole" on macOS. Reading it
    /// leaves no trace.
    [[nodiscard]] static std::unique_ptr<QtPreferences> previousProduct();
    /// A domain in a file of its own, in INI format.
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
