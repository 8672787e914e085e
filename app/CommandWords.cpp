#include "app/CommandWords.h"

#include <algorithm>

namespace quillorn {

std::optional<CommandWord> CommandWords::next() {
    if (m_next < m_words.size() && !m_optionsEnded && m_words[m_next] == "--") {
        m_optionsEnded = true;
        ++m_next;
    }
    if (m_next == m_words.size()) {
        return std::nullopt;
    }
    const std::string& word = m_words[m_next++];
    if (m_optionsEnded || word.size() < 2 || word[0] != '-') {
        return CommandWord{word, std::nullopt, false};
    }
    const std::size_t equals = word.find('=');
    if (!word.starts_with("--") || equals == std::string::npos) {
        return CommandWord{word, std::nullopt, true};
    }
    return CommandWord{word.substr(0, equals), word.substr(equals + 1), true};
}

tl::expected<std::string, std::string> CommandWords::valueOf(const CommandWord& option) {
    if (option.value) {
        return *option.value;
    }
    if (m_next == m_words.size()) {
        return tl::unexpected(option.text + " needs a value.");
    }
    if (m_words[m_next].starts_with("--")) {
        return tl::unexpected(option.text +
                              " needs a value; one that begins with dashes is written " +
                              option.text + "=VALUE.");
    }
    return m_words[m_next++];
}

tl::expected<void, std::string> CommandWords::checkNoValue(const CommandWord& option) {
    if (option.value) {
        return tl::unexpected(option.text + " takes no value.");
    }
    return {};
}

bool CommandWords::contains(const std::string& word) const {
    return std::find(m_words.begin(), m_words.end(), word) != m_words.end();
}

} // namespace quillorn
