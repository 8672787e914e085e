#include "platform/ui/SettingsPreferences.h"

#include "platform/ui/ApplicationName.h"
#include "platform/ui/HomeFolder.h"

#include <QByteArray>
#include <QFile>
#include <QMetaType>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <cstdlib>
#include <string>

namespace quillorn {

namespace {

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

struct SettingsPreferences::Settings {
    explicit Settings(const QString& file) : store(file, QSettings::IniFormat) {}
    QSettings store;
};

SettingsPreferences::SettingsPreferences(const std::filesystem::path& file)
    : m_file(file),
      m_settings(
          std::make_unique<Settings>(QFile::decodeName(QByteArray::fromStdString(file.string())))) {
}

SettingsPreferences::~SettingsPreferences() = default;

std::optional<std::string> SettingsPreferences::stringForKey(std::string_view key) const {
    const QVariant value = m_settings->store.value(toQString(key));
    if (value.typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return value.toString().toStdString();
}

FileResult<void> SettingsPreferences::setStringForKey(std::string_view key,
                                                      std::string_view value) {
    m_settings->store.setValue(toQString(key), toQString(value));
    m_settings->store.sync();
    if (m_settings->store.status() != QSettings::NoError) {
        return tl::unexpected(FileError{m_file, "the preferences cannot be written", 0});
    }
    return {};
}

std::filesystem::path SettingsPreferences::defaultFile() {
    const char* const stated = std::getenv("XDG_CONFIG_HOME");
    std::filesystem::path folder(stated != nullptr ? stated : "");
    if (!folder.is_absolute()) {
        folder = std::filesystem::path(homeFolder()) / ".config";
    }
    return folder / applicationUnixName / (std::string(applicationUnixName) + ".conf");
}

} // namespace quillorn
