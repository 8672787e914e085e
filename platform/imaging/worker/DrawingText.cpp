#include "platform/imaging/worker/DrawingText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <iconv.h>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <zlib.h>

namespace quillorn::worker {

namespace {

using namespace std::string_view_literals;
using Text = tl::expected<std::string, std::string>;

constexpr std::string_view blanks = " \t\r\n";
/// All entities together; drawings in which they stand for repeated styles need some kilobytes.
constexpr std::size_t mostExpandedBytes = 1U << 20U;
/// Letters in a row. Laying out a line takes time that grows faster than the line.
constexpr std::size_t longestLine = 50'000;

tl::unexpected<std::string> refused(std::string reason) {
    return tl::unexpected(std::move(reason));
}

tl::unexpected<std::string> tooMuchText() {
    return refused("it has more text than a drawing may have");
}

/// Owns the state of zlib.
class Inflation {
public:
    Inflation() {
        constexpr int gzipOnly = 16;
        m_isReady = ::inflateInit2(&m_state, MAX_WBITS + gzipOnly) == Z_OK;
    }
    ~Inflation() { ::inflateEnd(&m_state); }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;

    /// All parts of the file, one behind the other.
    Text unpack(std::span<const char> file, std::uint64_t limit) {
        std::string text;
        std::array<char, 1U << 16U> piece{};
        m_state.next_in =
            reinterpret_cast<Bytef*>(const_cast<char*>(file.data())); // NOLINT(*-const-cast)
        m_state.avail_in = static_cast<uInt>(file.size());
        while (m_isReady) {
            m_state.next_out = reinterpret_cast<Bytef*>(piece.data());
            m_state.avail_out = piece.size();
            const int result = ::inflate(&m_state, Z_NO_FLUSH);
            text.append(piece.data(), piece.size() - m_state.avail_out);
            if (text.size() > limit) {
                return tooMuchText();
            }
            if (result == Z_STREAM_END && m_state.avail_in == 0) {
                return text;
            }
            m_isReady =
                result == Z_OK || (result == Z_STREAM_END && ::inflateReset(&m_state) == Z_OK);
        }
        return refused("its compressed data is damaged");
    }

private:
    z_stream m_state{};
    bool m_isReady = false;
};

/// XML 1.0, appendix F: a byte order mark, else what the first letters look like.
std::string wideEncoding(std::string_view file) {
    constexpr std::array<std::pair<std::string_view, const char*>, 8> starts{{
        {"\0\0\xFE\xFF"sv, "UTF-32"},
        {"\xFF\xFE\0\0"sv, "UTF-32"},
        {"\0\0\0<"sv, "UTF-32BE"},
        {"<\0\0\0"sv, "UTF-32LE"},
        {"\xFE\xFF"sv, "UTF-16"},
        {"\xFF\xFE"sv, "UTF-16"},
        {"\0<"sv, "UTF-16BE"},
        {"<\0"sv, "UTF-16LE"},
    }};
    for (const auto& [start, encoding] : starts) {
        if (file.starts_with(start)) {
            return encoding;
        }
    }
    return {};
}

/// What the declaration at the start of the file says; empty for nothing that could be a name.
std::string declaredEncoding(std::string_view file) {
    if (!file.starts_with("<?xml")) {
        return {};
    }
    const std::string_view declaration = file.substr(0, file.find("?>"));
    std::size_t at = declaration.find("encoding");
    at = at == std::string_view::npos ? at : declaration.find_first_of("\"'", at);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::size_t end = declaration.find(declaration[at], at + 1);
    if (end == std::string_view::npos) {
        return {};
    }
    std::string name(declaration.substr(at + 1, end - at - 1));
    const bool isName = std::ranges::all_of(name, [](char letter) {
        return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= 'a' && letter <= 'z') || letter == '-' || letter == '_' || letter == '.';
    });
    return isName ? name : std::string();
}

/// Owns a converter to UTF-8.
class Conversion {
public:
    explicit Conversion(const std::string& from) : m_state(::iconv_open("UTF-8", from.c_str())) {}
    ~Conversion() {
        if (isKnown()) {
            ::iconv_close(m_state);
        }
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    [[nodiscard]] bool isKnown() const {
        return m_state != reinterpret_cast<iconv_t>(-1); // NOLINT(*-reinterpret-cast, *int-to-ptr)
    }

    Text convert(std::string file, std::uint64_t limit) {
        std::string text;
        std::array<char, 1U << 16U> piece{};
        char* from = file.data();
        std::size_t left = file.size();
        while (left > 0) {
            char* to = piece.data();
            std::size_t room = piece.size();
            const std::size_t done = ::iconv(m_state, &from, &left, &to, &room);
            const int error = done == static_cast<std::size_t>(-1) ? errno : 0;
            text.append(piece.data(), piece.size() - room);
            if (text.size() > limit) {
                return tooMuchText();
            }
            if (error == EINVAL) { // the file ends within a letter
                break;
            }
            if (error == EILSEQ) {
                text += "\xEF\xBF\xBD"; // U+FFFD
                ++from;
                --left;
            }
        }
        return text;
    }

private:
    iconv_t m_state;
};

Text asUTF8(std::string_view file, std::uint64_t limit) {
    std::string encoding = wideEncoding(file);
    if (encoding.empty()) {
        encoding = declaredEncoding(file);
        // The declaration could be read as it stands, so the letters are no wide ones.
        if (encoding.empty() || encoding.find("16") != std::string::npos ||
            encoding.find("32") != std::string::npos || !Conversion(encoding).isKnown()) {
            encoding = "UTF-8";
        }
    }
    Text text = Conversion(encoding).convert(std::string(file), limit);
    if (text && text->starts_with("\xEF\xBB\xBF")) {
        text->erase(0, 3);
    }
    return text;
}

/// Reads XML, which is text that is not known to be any, from front to back.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    [[nodiscard]] bool atEnd() const { return m_at >= m_text.size(); }
    [[nodiscard]] bool sees(std::string_view what) const {
        return m_text.substr(std::min(m_at, m_text.size())).starts_with(what);
    }
    [[nodiscard]] char next() const { return atEnd() ? '\0' : m_text[m_at]; }
    void pass(std::size_t count) { m_at = std::min(m_text.size(), m_at + count); }
    bool passIf(std::string_view what) {
        const bool is = sees(what);
        pass(is ? what.size() : 0);
        return is;
    }
    void passBlanks() { takeWhile(blanks, true); }
    /// Up to one of these letters.
    std::string_view takeUntil(std::string_view letters) { return takeWhile(letters, false); }
    /// Up to this, which is passed; nothing where it does not come.
    std::optional<std::string_view> takeTo(std::string_view end) {
        const std::size_t found = m_text.find(end, m_at);
        if (found == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view taken = m_text.substr(m_at, found - m_at);
        m_at = found + end.size();
        return taken;
    }
    /// What stands in quotes here.
    std::optional<std::string_view> takeQuoted() {
        const char quote = next();
        if (quote != '"' && quote != '\'') {
            return std::nullopt;
        }
        pass(1);
        return takeTo(std::string_view(&quote, 1));
    }

private:
    std::string_view takeWhile(std::string_view letters, bool areWanted) {
        const std::size_t from = std::min(m_at, m_text.size());
        const std::size_t end = areWanted ? m_text.find_first_not_of(letters, from)
                                          : m_text.find_first_of(letters, from);
        m_at = std::min(end, m_text.size());
        return m_text.substr(from, m_at - from);
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

bool isOfEveryXML(std::string_view entity) {
    return entity.starts_with('#') || entity == "amp" || entity == "lt" || entity == "gt" ||
           entity == "quot" || entity == "apos";
}

/// Turns the text of a file into one without anything that needs expanding.
class Flattening {
public:
    Flattening(std::string_view text, std::uint64_t limit) : m_scanner(text), m_limit(limit) {}

    Text flattened() {
        while (!m_scanner.atEnd()) {
            if (!takeNext()) {
                return refused(m_reason);
            }
            if (m_flat.size() > m_limit) {
                return tooMuchText();
            }
        }
        return std::move(m_flat);
    }

private:
    bool fail(const char* reason) {
        m_reason = reason;
        return false;
    }
    bool damaged() { return fail("it is no drawing, or a damaged one"); }

    bool takeNext() {
        const std::string_view plain = m_scanner.takeUntil("<&");
        m_flat += plain;
        m_line = m_isInText ? m_line + plain.size() : 0;
        if (m_line > longestLine) {
            return fail("a line of its text is too long");
        }
        if (m_scanner.atEnd()) {
            return true;
        }
        if (m_scanner.next() == '&') {
            return takeEntity();
        }
        if (m_scanner.passIf("<!--")) {
            return m_scanner.takeTo("-->") || damaged();
        }
        if (m_scanner.passIf("<?")) {
            return m_scanner.takeTo("?>") || damaged();
        }
        if (m_scanner.passIf("<![CDATA[")) {
            return takeLiteralText();
        }
        if (m_scanner.passIf("<!DOCTYPE")) {
            return takeDocumentType();
        }
        if (m_scanner.sees("<!")) {
            return damaged();
        }
        return takeTag();
    }

    bool takeLiteralText() {
        const auto text = m_scanner.takeTo("]]>");
        if (!text) {
            return damaged();
        }
        m_line += m_isInText ? text->size() : 0;
        m_flat += "<![CDATA[";
        m_flat += *text;
        m_flat += "]]>";
        return true;
    }

    bool takeEntity() {
        m_scanner.pass(1);
        const std::string_view name = m_scanner.takeUntil(";<&\"' \t\r\n");
        const auto known = m_entities.find(name);
        if (m_scanner.next() != ';' || known == m_entities.end()) {
            m_flat += '&';
            m_flat += name;
            return true;
        }
        m_scanner.pass(1);
        m_expanded += known->second.size();
        if (m_expanded > mostExpandedBytes) {
            return fail("its entities stand for more text than a drawing may have");
        }
        m_line += m_isInText ? known->second.size() : 0;
        m_flat += known->second;
        return true;
    }

    bool takeTag() {
        m_scanner.pass(1);
        m_flat += '<';
        if (m_scanner.passIf("/")) {
            m_flat += '/';
        }
        // The library knows the elements by their bare names only.
        m_scanner.passIf("svg:");
        const std::string_view name = m_scanner.takeUntil(" \t\r\n/>&<");
        m_flat += name;
        m_isInText = name == "text" || name == "tspan" || name == "textArea" || name == "flowPara";
        m_line = 0;
        m_hasElements = true;
        while (!m_scanner.atEnd()) {
            m_flat += m_scanner.takeUntil("\"'>&<");
            switch (m_scanner.next()) {
            case '>':
                return true;
            case '"':
            case '\'':
                if (!takeAttributeValue()) {
                    return false;
                }
                break;
            default:
                return damaged();
            }
            if (m_flat.size() > m_limit) {
                return true; // which is noticed
            }
        }
        return damaged();
    }

    bool takeAttributeValue() {
        const char quote = m_scanner.next();
        const std::array<char, 3> stops = {quote, '&', '<'};
        m_scanner.pass(1);
        m_flat += quote;
        while (true) {
            m_flat += m_scanner.takeUntil(std::string_view(stops.data(), stops.size()));
            if (m_scanner.next() == quote) {
                m_scanner.pass(1);
                m_flat += quote;
                return true;
            }
            if (m_scanner.next() != '&') {
                return damaged();
            }
            if (!takeEntity()) {
                return false;
            }
        }
    }

    bool takeDocumentType() {
        if (m_hasElements || m_hasDocumentType) {
            return damaged();
        }
        m_hasDocumentType = true;
        while (true) {
            m_scanner.takeUntil("[>\"'");
            switch (m_scanner.next()) {
            case '>':
                m_scanner.pass(1);
                return true;
            case '[':
                m_scanner.pass(1);
                if (!takeDeclarations()) {
                    return false;
                }
                break;
            default:
                if (!m_scanner.takeQuoted()) {
                    return damaged();
                }
            }
        }
    }

    /// Those between the brackets.
    bool takeDeclarations() {
        while (true) {
            m_scanner.passBlanks();
            bool isSound = false;
            if (m_scanner.passIf("]")) {
                return true;
            }
            if (m_scanner.passIf("<!--")) {
                isSound = m_scanner.takeTo("-->").has_value();
            } else if (m_scanner.passIf("<?")) {
                isSound = m_scanner.takeTo("?>").has_value();
            } else if (m_scanner.passIf("<!ENTITY")) {
                isSound = declareEntity();
            } else if (m_scanner.passIf("<!")) {
                isSound = passDeclaration();
            } else if (m_scanner.sees("%")) {
                return fail("it puts its declarations together while it is read");
            }
            if (!isSound) {
                return m_reason == nullptr ? damaged() : false;
            }
        }
    }

    bool declareEntity() {
        m_scanner.passBlanks();
        if (m_scanner.sees("%")) {
            return fail("it puts its declarations together while it is read");
        }
        const std::string_view name = m_scanner.takeUntil(" \t\r\n\"'>");
        m_scanner.passBlanks();
        std::string value; // of one that stands in another file: nothing
        if (const auto quoted = m_scanner.takeQuoted()) {
            if (!isPlain(*quoted)) {
                return fail("its entities stand for more than text");
            }
            value = *quoted;
        }
        if (!name.empty() && !isOfEveryXML(name)) {
            m_entities.try_emplace(std::string(name), std::move(value)); // the first one counts
        }
        return passDeclaration();
    }

    static bool isPlain(std::string_view value) {
        Scanner scanner(value);
        while (true) {
            scanner.takeUntil("&%<");
            if (scanner.atEnd()) {
                return true;
            }
            // Markup could be another document type, for a reader that has not seen one yet.
            if (!scanner.passIf("&") || !isOfEveryXML(scanner.takeUntil(";&"))) {
                return false;
            }
        }
    }

    /// To its end, which does not stand in quotes.
    bool passDeclaration() {
        while (true) {
            m_scanner.takeUntil(">\"'");
            if (m_scanner.passIf(">")) {
                return true;
            }
            if (!m_scanner.takeQuoted()) {
                return false;
            }
        }
    }

    Scanner m_scanner;
    std::uint64_t m_limit;
    std::map<std::string, std::string, std::less<>> m_entities;
    std::string m_flat;
    std::size_t m_expanded = 0;
    std::size_t m_line = 0;
    bool m_isInText = false;
    bool m_hasElements = false;
    bool m_hasDocumentType = false;
    const char* m_reason = nullptr;
};

} // namespace

Text readDrawingText(std::span<const char> file, std::uint64_t limit) {
    std::string unpackedFile;
    std::string_view bytes(file.data(), file.size());
    if (bytes.size() > limit) {
        return tooMuchText();
    }
    if (bytes.starts_with("\x1F\x8B")) {
        Text unpacked = Inflation().unpack(file, limit);
        if (!unpacked) {
            return unpacked;
        }
        unpackedFile = std::move(*unpacked);
        bytes = unpackedFile;
    }
    const Text text = asUTF8(bytes, limit);
    return text ? Flattening(*text, limit).flattened() : text;
}

} // namespace quillorn::worker
