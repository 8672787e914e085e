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
    explicit Scanner(std::string_view source) : source_(source) {}

    std::vector<Include> run() {
        while (!atEnd()) {
            step();
        }
        return includes_;
    }

private:
    /// Passes over one token, comment or directive start.
    void step() {
        const char c = peek();
        if (startsWith("//")) {
            skipLineComment();
        } else if (startsWith("/*")) {
            skipBlockComment();
        } else if (c == '#' && onlySpaceInLine_) {
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
        include.line = line_;
        const char open = atEnd() ? '\n' : peek();
        if (open == '"' || open == '<') {
            include.form = open == '"' ? Include::Form::Quoted : Include::Form::Angled;
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
            include.form = Include::Form::Macro;
            include.path = std::string(takeWord());
        }
        includes_.push_back(include);
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
        const bool spaceBefore = onlySpaceInLine_;
        advance(2);
        while (!atEnd() && !startsWith("*/")) {
            advance();
        }
        advance(2);
        onlySpaceInLine_ = spaceBefore;
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
                            (peek() == '\'' && position_ + 1 < source_.size() &&
                             isNameChar(source_[position_ + 1])))) {
            advance();
        }
    }

    std::string_view takeWord() {
        const std::size_t start = position_;
        while (!atEnd() && isNameChar(peek())) {
            advance();
        }
        return source_.substr(start, position_ - start);
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

    [[nodiscard]] bool atEnd() const { return position_ >= source_.size(); }
    [[nodiscard]] char peek() const { return source_[position_]; }
    [[nodiscard]] bool startsWith(std::string_view text) const {
        return source_.substr(position_).starts_with(text);
    }

    void advance(std::size_t count = 1) {
        for (; count > 0 && !atEnd(); --count, ++position_) {
            const char c = peek();
            if (c == '\n') {
                ++line_;
                onlySpaceInLine_ = true;
            } else if (c != ' ' && c != '\t') {
                onlySpaceInLine_ = false;
            }
        }
    }

    std::string_view source_;
    std::size_t position_ = 0;
    int line_ = 1;
    bool onlySpaceInLine_ = true;
    std::vector<Include> includes_;
};

} // namespace

std::vector<Include> includesOf(std::string_view source) {
    return Scanner(source).run();
}

} // namespace quillorn::architecture
