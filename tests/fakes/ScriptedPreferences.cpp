#include "tests/fakes/ScriptedPreferences.h"

#include <gtest/gtest.h>

namespace quillorn::tests {

ScriptedPreferences::~ScriptedPreferences() {
    for (const auto& [key, answer] : m_answers) {
        EXPECT_TRUE(answer.asked) << "nobody asked for the preference " << key;
    }
}

void ScriptedPreferences::answer(const std::string& key, const std::optional<std::string>& value) {
    m_answers[key].value = value;
}

std::optional<std::string> ScriptedPreferences::stringForKey(std::string_view key) const {
    const auto found = m_answers.find(key);
    if (found == m_answers.end()) {
        ADD_FAILURE() << "unexpected question for the preference " << key;
        return std::nullopt;
    }
    found->second.asked = true;
    return found->second.value;
}

FileResult<void> ScriptedPreferences::setStringForKey(std::string_view key,
                                                      std::string_view value) {
    ADD_FAILURE() << "unexpected change of the preference " << key << " to " << value;
    return {};
}

} // namespace quillorn::tests
