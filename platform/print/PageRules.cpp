#include "platform/print/PageRules.h"

#include <cctype>
#include <cmath>
#include <cstddef>

namespace quillorn {

namespace {

bool isSpace(char ch) {
    return ch == ' ' || (ch >= '\t' && ch <= '\r');
}

bool isHexDigit(char ch) {
    return std::isxdigit(static_cast<unsigned char>(ch)) != 0;
}

char lowered(int ch) {
    return static_cast<char>(std::tolower(ch & 0xff));
}

/// Walks over a style sheet token by token, as far as "@page" needs that.
class StyleEditor {
public:
    explicit StyleEditor(std::string_view text) : m_text(text) {}

    std::optional<std::string> edited() {
        while (m_at < m_text.size()) {
            if (skipAside()) {
                continue;
            }
            const char ch = m_text[m_at++];
            const std::size_t start = m_at;
            if (ch == '\\') {
                ++m_at;
            } else if (ch == '@' && word() == "page") {
                m_text.replace(start, m_at - start, m_at - start, 'x');
                m_isChanged = true;
            }
        }
        return m_isChanged ? std::optional(std::move(m_text)) : std::nullopt;
    }

private:
    /// Steps over a comment or a string that begins here.
    bool skipAside() {
        if (m_text.compare(m_at, 2, "/*") == 0) {
            const std::size_t end = m_text.find("*/", m_at + 2);
            m_at = end == std::string::npos ? m_text.size() : end + 2;
            return true;
        }
        const char quote = m_text[m_at];
        if (quote != '"' && quote != '\'') {
            return false;
        }
        for (++m_at; m_at < m_text.size() && m_text[m_at] != quote && m_text[m_at] != '\n';
             ++m_at) {
            m_at += m_text[m_at] == '\\' ? 1U : 0U;
        }
        ++m_at;
        return true;
    }

    /// The name that begins here, escapes resolved, in small letters.
    std::string word() {
        std::string name;
        while (m_at < m_text.size()) {
            const char ch = m_text[m_at];
            if (ch == '\\' && m_at + 1 < m_text.size()) {
                ++m_at;
                name += escaped();
                continue;
            }
            const auto byte = static_cast<unsigned char>(ch);
            if (std::isalnum(byte) == 0 && ch != '-' && ch != '_' && byte < 128) {
                break;
            }
            name += lowered(byte);
            ++m_at;
        }
        return name;
    }

    /// A letter written as its number ("\70 ") or as itself; others than ASCII ones are of no
    /// interest.
    char escaped() {
        int value = 0;
        std::size_t digits = 0;
        for (; digits < 6 && m_at < m_text.size() && isHexDigit(m_text[m_at]); ++digits, ++m_at) {
            const char ch = lowered(m_text[m_at]);
            value = value * 16 + (ch >= 'a' ? ch - 'a' + 10 : ch - '0');
        }
        if (digits == 0) {
            return lowered(m_text[m_at++]);
        }
        m_at += m_at < m_text.size() && isSpace(m_text[m_at]) ? 1U : 0U;
        return value < 128 ? lowered(value) : '?';
    }

    std::string m_text;
    std::size_t m_at = 0;
    bool m_isChanged = false;
};

/// In hundredths, whatever the locale.
std::string points(double value) {
    const long hundredths = std::lround(value * 100);
    const long fraction = hundredths % 100;
    std::string text = std::to_string(hundredths / 100);
    text += fraction == 0 ? "" : fraction < 10 ? ".0" : ".";
    text += fraction == 0 ? "" : std::to_string(fraction);
    return text + "pt";
}

} // namespace

std::optional<std::string> withoutPageRules(std::string_view styleSheet) {
    return StyleEditor(styleSheet).edited();
}

std::string pageRules(const PrintInfo& info) {
    return "@page{size:auto!important;margin:" + points(info.topMargin) + " " +
           points(info.rightMargin) + " " + points(info.bottomMargin) + " " +
           points(info.leftMargin) + "!important}";
}

} // namespace quillorn
