// The settings store that Qt gives on every system.
#pragma once

#include <QSettings>
#include <QString>
#include <memory>
#include <string>

#include "platform/preferences.h"

namespace vestigo {

/// The names that Qt makes a place of.
struct SettingsNames {
    QString organisation;
    QString application;
};

/// On a Mac those of the domain that is called like the bundle, where `defaults` and frameworks
/// look too; elsewhere those of one file in the folder "Vestigo".
[[nodiscard]] SettingsNames settingsNames(bool onMac, const QString& file);

/// The user's settings. `file`: as above, without its ending; on a Mac all share the one domain.
[[nodiscard]] std::unique_ptr<QSettings> ownSettings(const QString& file);

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
