#pragma once

#include "platform/ui/Preferences.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quillorn::tests {

/// Preferences that answer what a test scripted and fail the test when asked for anything else,
/// when told to change a value, or when a scripted answer was never asked for.
class ScriptedPreferences final : public Preferences {
public:
    ScriptedPreferences() = default;
    ~ScriptedPreferences() override;
    ScriptedPreferences(const ScriptedPreferences&) = delete;
    ScriptedPreferences& operator=(const ScriptedPreferences&) = delete;

    void answer(const std::string& key, const std::optional<std::string>& value);

    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override;
    [[nodiscard]] FileResult<void> setStringForKey(std::string_view key,
                                                   std::string_view value) override;

private:
    struct Answer {
        std::optional<std::string> value;
        mutable bool asked = false;
    };
    std::map<std::string, Answer, std::less<>> m_answers;
};

} // namespace quillorn::tests
