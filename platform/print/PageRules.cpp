#include "platform/print/PageRules.h"

#include <cctype>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <utility>

namespace quillorn {

namespace {

bool isSpace(char ch) {
    return ch == ' ' || (ch >= '\t' && ch <= '\r');
}

/// Walks over a style sheet token by token, as far as "@page" needs that.
class StyleScanner {
public:
    explicit StyleScanner(std::string_view text) : m_text(text) {}

    std::set<std::string> selectors() {
        std::set<std::string> found;
        while (m_at < m_text.size()) {
            const char ch = m_text[m_at];
            if (skippedAside()) {
                continue;
            }
            ++m_at;
            if (ch == '\\') {
                ++m_at;
            } else if (ch == '@' && word() == "page") {
                readSelectors(found);
            }
        }
        return found;
    }

private:
    /// Steps over a comment or a string that begins here.
    bool skippedAside() {
        const std::string_view rest = m_text.substr(m_at);
        if (rest.starts_with("/*")) {
            const std::size_t end = m_text.find("*/", m_at + 2);
            m_at = end == std::string_view::npos ? m_text.size() : end + 2;
            return true;
        }
        if (rest.front() != '"' && rest.front() != '\'') {
            return false;
        }
        for (++m_at; m_at < m_text.size() && m_text[m_at] != rest.front() && m_text[m_at] != '\n';
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
            name += static_cast<char>(std::tolower(byte));
            ++m_at;
        }
        return name;
    }

    /// A letter written as its number ("\70 "), or as itself; others than ASCII ones are of no
    /// interest.
    char escaped() {
        unsigned value = 0;
        std::size_t digits = 0;
        for (; digits < 6 && m_at < m_text.size() &&
               std::isxdigit(static_cast<unsigned char>(m_text[m_at])) != 0;
             ++digits, ++m_at) {
            const char ch = static_cast<char>(m_text[m_at] | 0x20);
            value = value * 16 + static_cast<unsigned>(ch >= 'a' ? ch - 'a' + 10 : ch & 15);
        }
        if (digits == 0) {
            return static_cast<char>(std::tolower(static_cast<unsigned char>(m_text[m_at++])));
        }
        m_at += m_at < m_text.size() && isSpace(m_text[m_at]) ? 1U : 0U;
        return value < 128 ? static_cast<char>(std::tolower(static_cast<int>(value))) : '?';
    }

    /// What stands between "@page" and its block, apart at the commas.
    void readSelectors(std::set<std::string>& found) {
        std::string selector;
        while (m_at < m_text.size() && m_text[m_at] != '{' && m_text[m_at] != ';' &&
               m_text[m_at] != '}') {
            if (skippedAside()) {
                continue;
            }
            const char ch = m_text[m_at++];
            if (ch == ',') {
                found.insert(std::exchange(selector, {}));
            } else if (!isSpace(ch)) {
                selector += ch;
            }
        }
        if (m_at < m_text.size() && m_text[m_at] == '{') {
            found.insert(selector);
        }
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

/// Points without a needless fraction, whatever the locale.
std::string points(double value) {
    return std::to_string(std::lround(value)) + "pt";
}

} // namespace

std::set<std::string> pageSelectorsIn(std::string_view styleSheet) {
    return StyleScanner(styleSheet).selectors();
}

std::string pageRules(const std::set<std::string>& selectors, const PrintInfo& info) {
    const std::string block = "{size:auto!important;margin:" + points(info.topMargin) + " " +
                              points(info.rightMargin) + " " + points(info.bottomMargin) + " " +
                              points(info.leftMargin) + "!important}";
    std::string rules = "@page" + block;
    for (const char* const selector : {":first", ":left", ":right", ":blank"}) {
        rules += std::string("@page ") + selector + block;
    }
    for (const std::string& selector : selectors) {
        if (!selector.empty()) {
            rules += "@page " + selector + block;
        }
    }
    return rules;
}

} // namespace quillorn
