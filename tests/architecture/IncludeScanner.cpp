#include "tests/architecture/IncludeScanner.h"

#include <array>
#include <cctype>
#include <cstddef>

namespace quillorn::architecture {

namespace {

bool isNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

class Scanner {
public:
    explicit Scanner(std::string_view source) : m_source(source) {}

    std::vector<Include> run() {
        while (!atEnd()) {
            step();
        }
        return m_includes;
    }

private:
    /// Passes over one token, comment or directive start.
    void step() {
        const char c = peek();
        if (startsWith("//")) {
            skipLineComment();
        } else if (startsWith("/*")) {
            skipBlockComment();
        } else if (c == '#' && m_onlySpaceInLine) {
            advance();
            directive();
        } else if (c == '"' || c == '\'') {
            skipLiteral(c);
        } else if (isDigit(c)) {
            skipNumber();
        } else if (isNameChar(c)) {
            const std::string_view word = takeWord();
            if (!atEnd() && peek() == '"' && isRawPrefix(word)) {
                skipRawString();
            }
        } else {
            advance();
        }
    }

    void directive() {
        skipSpaceAndComments();
        const std::string_view keyword = takeWord();
        if (keyword != "include" && keyword != "include_next" && keyword != "import") {
            return;
        }
        skipSpaceAndComments();
        Include include;
        include.line = m_line;
        const char open = atEnd() ? '\n' : peek();
        if (open == '"' || open == '<') {
            include.form = open == '"' ? Include::Form::quoted : Include::Form::angled;
            const char close = open == '"' ? '"' : '>';
            advance();
            while (!atEnd() && peek() != close && peek() != '\n') {
                include.path += peek();
                advance();
            }
            if (!atEnd() && peek() == close) {
                advance();
            }
        } else {
            include.form = Include::Form::macro;
            include.path = std::string(takeWord());
        }
        m_includes.push_back(include);
    }

    void skipSpaceAndComments() {
        while (!atEnd()) {
            if (startsWith("/*")) {
                skipBlockComment();
            } else if (startsWith("\\\n")) {
                advance(2);
            } else if (peek() == ' ' || peek() == '\t') {
                advance();
            } else {
                return;
            }
        }
    }

    void skipLineComment() {
        while (!atEnd() && peek() != '\n') {
            advance(startsWith("\\\n") ? 2 : 1);
        }
    }

    /// A comment counts as a space, so a directive may follow it in its line.
    void skipBlockComment() {
        const bool spaceBefore = m_onlySpaceInLine;
        advance(2);
        while (!atEnd() && !startsWith("*/")) {
            advance();
        }
        advance(2);
        m_onlySpaceInLine = spaceBefore;
    }

    void skipLiteral(char quote) {
        advance();
        while (!atEnd() && peek() != quote && peek() != '\n') {
            advance(peek() == '\\' ? 2 : 1);
        }
        advance();
    }

    void skipRawString() {
        advance();
        std::string end = ")";
        while (!atEnd() && peek() != '(') {
            end += peek();
            advance();
        }
        end += '"';
        while (!atEnd() && !startsWith(end)) {
            advance();
        }
        advance(end.size());
    }

    /// Numbers have a rule of their own for the quotes that separate digits.
    void skipNumber() {
        while (!atEnd() && (isNameChar(peek()) || peek() == '.' ||
                            (peek() == '\'' && m_position + 1 < m_source.size() &&
                             isNameChar(m_source[m_position + 1])))) {
            advance();
        }
    }

    std::string_view takeWord() {
        const std::size_t start = m_position;
        while (!atEnd() && isNameChar(peek())) {
            advance();
        }
        return m_source.substr(start, m_position - start);
    }

    static bool isRawPrefix(std::string_view word) {
        constexpr std::array<std::string_view, 5> prefixes = {"R", "u8R", "uR", "UR", "LR"};
        for (const std::string_view prefix : prefixes) {
            if (word == prefix) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool atEnd() const { return m_position >= m_source.size(); }
    [[nodiscard]] char peek() const { return m_source[m_position]; }
    [[nodiscard]] bool startsWith(std::string_view text) const {
        return m_source.substr(m_position).starts_with(text);
    }

    void advance(std::size_t count = 1) {
        for (; count > 0 && !atEnd(); --count, ++m_position) {
            const char c = peek();
            if (c == '\n') {
                ++m_line;
                m_onlySpaceInLine = true;
            } else if (c != ' ' && c != '\t') {
                m_onlySpaceInLine = false;
            }
        }
    }

    std::string_view m_source;
    std::size_t m_position = 0;
    int m_line = 1;
    bool m_onlySpaceInLine = true;
    std::vector<Include> m_includes;
};

} // namespace

std::vector<Include> includesOf(std::string_view source) {
    return Scanner(source).run();
}

} // namespace quillorn::architecture
