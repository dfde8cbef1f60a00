#include "platform/qt/qt_preferences.h"

#include <QFile>
#include <QOperatingSystemVersion>
#include <QSettings>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace vestigo {
namespace {

/// Returns whether a text means true: it begins with Y or T, or is a number other than 0. The
/// system's own reader of preferences decides in the same way.
bool meansYes(const QString& text) {
    const auto isInsignificant = [](QChar c) { return c.isSpace() || c == u'0'; };
    const auto trimmed = text.trimmed();
    const bool hasSign = trimmed.startsWith(u'+') || trimmed.startsWith(u'-');
    const auto first =
        std::find_if_not(trimmed.begin() + (hasSign ? 1 : 0), trimmed.end(), isInsignificant);
    return first != trimmed.end() && QStringLiteral("YyTt123456789").contains(*first);
}

}  // namespace

SettingsNames settingsNames(bool onMac, const QString& file) {
    if (!onMac) return {QStringLiteral("Vestigo"), file};
    // Qt turns "example.com" and "name" into the domain "com.example.name".
    auto parts = QStringLiteral(VESTIGO_BUNDLE_IDENTIFIER).split(u'.');
    const auto application = parts.takeLast();
    std::ranges::reverse(parts);
    return {parts.join(u'.'), application};
}

std::unique_ptr<QSettings> ownSettings(const QString& file) {
    const bool onMac =
        QOperatingSystemVersion::currentType() == QOperatingSystemVersion::OSType::MacOS;
    const auto names = settingsNames(onMac, file);
    return std::make_unique<QSettings>(names.organisation, names.application);
}

struct QtPreferences::Store {
    std::unique_ptr<QSettings> settings;

    explicit Store(std::unique_ptr<QSettings> opened) : settings(std::move(opened)) {
        // Only this domain counts, not the settings that the system or the organisation has for all
        // programs.
        settings->setFallbacksEnabled(false);
    }

    [[nodiscard]] QVariant value(const std::string& key) const {
        return settings->value(QString::fromStdString(key));
    }
    void store(const std::string& key, const QVariant& value) {
        settings->setValue(QString::fromStdString(key), value);
        settings->sync();
    }
};

QtPreferences::QtPreferences(std::unique_ptr<Store> store) : store_(std::move(store)) {}

QtPreferences::~QtPreferences() = default;

std::unique_ptr<QtPreferences> QtPreferences::in(std::unique_ptr<QSettings> settings) {
    return std::unique_ptr<QtPreferences>(
        new QtPreferences(std::make_unique<Store>(std::move(settings))));
}

std::unique_ptr<QtPreferences> QtPreferences::own() {
    return in(ownSettings(QStringLiteral("Vestigo")));
}

std::unique_ptr<QtPreferences> QtPreferences::previousProduct() {
    return in(
        std::make_unique<QSettings>(QStringLiteral("tracemole.com"), QStringLiteral("Tracemole")));
}

std::unique_ptr<QtPreferences> QtPreferences::inFile(const std::string& path) {
    return in(std::make_unique<QSettings>(QFile::decodeName(path.c_str()), QSettings::IniFormat));
}

bool QtPreferences::contains(const std::string& key) const {
    return store_->settings->contains(QString::fromStdString(key));
}

bool QtPreferences::boolean(const std::string& key) const {
    // Some stores keep every value as text, and administrators write various forms.
    const auto value = store_->value(key);
    if (value.typeId() == QMetaType::QString) return meansYes(value.toString());
    return value.toDouble() != 0;
}

int QtPreferences::integer(const std::string& key) const {
    // A text counts as the number that it begins with, and a fraction is cut off.
    const auto value = store_->value(key);
    const bool isText = value.typeId() == QMetaType::QString;
    const auto text = value.toString().toUtf8();
    const auto number = isText ? static_cast<double>(std::strtoll(text.constData(), nullptr, 10))
                               : std::trunc(value.toDouble());
    using Limits = std::numeric_limits<int>;
    return number >= Limits::min() && number <= Limits::max() ? static_cast<int>(number) : 0;
}

void QtPreferences::setBoolean(const std::string& key, bool value) {
    store_->store(key, value);
}

void QtPreferences::setInteger(const std::string& key, int value) {
    store_->store(key, value);
}

}  // namespace vestigo
