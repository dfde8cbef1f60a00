#include "platform/qt/qt_preferences.h"

#include <QFile>
#include <QSettings>
#include <QVariant>
#include <utility>

namespace vestigo {

struct QtPreferences::Store {
    QSettings settings;

    Store(const char* organisation, const char* application)
        : settings(QString::fromLatin1(organisation), QString::fromLatin1(application)) {
        // Only this domain counts, not what the system or the organisation sets for all.
        settings.setFallbacksEnabled(false);
    }
    explicit Store(const std::string& path)
        : settings(QFile::decodeName(path.c_str()), QSettings::IniFormat) {}

    [[nodiscard]] QVariant value(const std::string& key) const {
        return settings.value(QString::fromStdString(key));
    }
    void store(const std::string& key, const QVariant& value) {
        settings.setValue(QString::fromStdString(key), value);
        settings.sync();
    }
};

QtPreferences::QtPreferences(std::unique_ptr<Store> store) : store_(std::move(store)) {}

QtPreferences::~QtPreferences() = default;

std::unique_ptr<QtPreferences> QtPreferences::own() {
    return std::unique_ptr<QtPreferences>(
        new QtPreferences(std::make_unique<Store>("Vestigo", "Vestigo")));
}

std::unique_ptr<QtPreferences> QtPreferences::previousProduct() {
    return std::unique_ptr<QtPreferences>(
        new QtPreferences(std::make_unique<Store>("tracemole.com", "Tracemole")));
}

std::unique_ptr<QtPreferences> QtPreferences::inFile(const std::string& path) {
    return std::unique_ptr<QtPreferences>(new QtPreferences(std::make_unique<Store>(path)));
}

bool QtPreferences::contains(const std::string& key) const {
    return store_->settings.contains(QString::fromStdString(key));
}

bool QtPreferences::boolean(const std::string& key) const {
    // As text, which is what some of the stores keep.
    const auto text = store_->value(key).toString();
    return text == QLatin1String("true") || text == QLatin1String("1");
}

int QtPreferences::integer(const std::string& key) const {
    // Asked for an int, the value would be cut to size.
    const auto number = store_->value(key).toLongLong();
    return std::in_range<int>(number) ? static_cast<int>(number) : 0;
}

void QtPreferences::setBoolean(const std::string& key, bool value) {
    store_->store(key, value);
}

void QtPreferences::setInteger(const std::string& key, int value) {
    store_->store(key, value);
}

}  // namespace vestigo
