#pragma once

#include "platform/ui/Preferences.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillorn::tests {

/// Preferences that last as long as the test.
class MemoryPreferences final : public Preferences {
public:
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override {
        const auto found = m_values.find(key);
        return found == m_values.end() ? std::nullopt : std::optional(found->second);
    }
    [[nodiscard]] FileResult<void> setStringForKey(std::string_view key,
                                                   std::string_view value) override {
        m_values[std::string(key)] = value;
        if (m_fails) {
            return tl::unexpected(FileError{"preferences", "the preferences cannot be written", 0});
        }
        return {};
    }

    std::map<std::string, std::string, std::less<>> m_values;
    bool m_fails = false; ///< values count, but cannot be kept
};

} // namespace quillorn::tests
