#pragma once

#include "platform/ui/Preferences.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// Preferences in an INI file, `quillorn-folivane/quillorn-folivane.conf` in the user's
/// configuration folder, which people can read and edit. Several running programs may share it:
/// a change merges into what the others wrote. Texts that are no valid UTF-8 do not survive.
class SettingsPreferences final : public Preferences {
public:
    /// The file is made, with its folders, when a value is first set. `file` is an absolute path.
    explicit SettingsPreferences(const std::filesystem::path& file = defaultFile());
    ~SettingsPreferences() override;
    SettingsPreferences(const SettingsPreferences&) = delete;
    SettingsPreferences& operator=(const SettingsPreferences&) = delete;

    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override;
    [[nodiscard]] FileResult<void> setStringForKey(std::string_view key,
                                                   std::string_view value) override;

    /// In `$XDG_CONFIG_HOME` where that is an absolute path, else in `.config` of the home folder.
    [[nodiscard]] static std::filesystem::path defaultFile();

private:
    struct Settings;
    std::filesystem::path m_file;
    std::unique_ptr<Settings> m_settings;
};

} // namespace quillorn
