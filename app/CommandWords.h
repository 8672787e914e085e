#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace quillorn {

/// One word of a command line, or an option with the value that is glued to it.
struct CommandWord {
    std::string text;                 ///< the option's name ("--pages"), or the word as it is
    std::optional<std::string> value; ///< of "--pages=VALUE"
    bool isOption = false;
};

/// Goes through the words of a command line. A word that begins with a dash is an option; after
/// a lone "--" every word stands for itself.
class CommandWords {
public:
    explicit CommandWords(std::vector<std::string> words) : m_words(std::move(words)) {}

    /// The next word; nothing at the end.
    [[nodiscard]] std::optional<CommandWord> next();

    /// The value of an option that needs one: what is glued to it, else the next word, which must
    /// not look like a long option. The error is one line for people.
    [[nodiscard]] tl::expected<std::string, std::string> valueOf(const CommandWord& option);

    /// Checks that an option without a value has none.
    [[nodiscard]] static tl::expected<void, std::string> checkNoValue(const CommandWord& option);

    /// Whether one of the words is `word`, which may be read already.
    [[nodiscard]] bool contains(const std::string& word) const;

private:
    std::vector<std::string> m_words;
    std::size_t m_next = 0;
    bool m_optionsEnded = false;
};

} // namespace quillorn
