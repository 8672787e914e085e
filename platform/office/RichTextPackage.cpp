#include "platform/office/RichTextPackage.h"

#include "platform/files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view attachmentWord = "\\NeXTGraphic";
constexpr std::string_view textName = "TXT.rtf";
constexpr std::size_t hexDigitsInLine = 128;
constexpr int largestTwips = 32'000; // what rich text can say

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isBlank(char character) {
    return character == ' ' || character == '\r' || character == '\n' || character == '\t';
}

void appendUTF8(std::string& text, char32_t code) {
    const auto add = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0U | code >> 6U);
        add(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        add(0xE0U | code >> 12U);
        add(0x80U | (code >> 6U & 0x3FU));
        add(0x80U | (code & 0x3FU));
    } else {
        add(0xF0U | code >> 18U);
        add(0x80U | (code >> 12U & 0x3FU));
        add(0x80U | (code >> 6U & 0x3FU));
        add(0x80U | (code & 0x3FU));
    }
}

/// Reads a reference to an attachment from behind its first word.
class Reference {
public:
    explicit Reference(std::string_view text) : m_text(text) {}

    /// False when the text ends before the group does.
    bool read() {
        skipBlanks();
        while (m_position < m_text.size()) {
            const char character = m_text[m_position];
            if (character == '}') {
                ++m_position;
                while (m_name.ends_with(' ')) {
                    m_name.pop_back();
                }
                return true;
            }
            if (character == '{') {
                return false; // no group belongs in here
            }
            if (character == '\\') {
                readBackslash();
                continue;
            }
            ++m_position;
            if (!m_isNameOver && character != '\r' && character != '\n') {
                m_name.push_back(character);
            }
        }
        return false;
    }

    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] int width() const { return m_width; }
    [[nodiscard]] int height() const { return m_height; }
    [[nodiscard]] std::size_t length() const { return m_position; }

private:
    void skipBlanks() {
        while (m_position < m_text.size() && isBlank(m_text[m_position])) {
            ++m_position;
        }
    }

    void readBackslash() {
        ++m_position;
        const char next = m_position < m_text.size() ? m_text[m_position] : '\0';
        if (next == '\'') {
            unsigned code = 0;
            const char* const start = m_text.data() + std::min(m_position + 1, m_text.size());
            const char* const end = m_text.data() + std::min(m_position + 3, m_text.size());
            if (std::from_chars(start, end, code, 16).ec == std::errc()) {
                addCode(code);
            }
            m_position = std::min(m_position + 3, m_text.size());
        } else if (isLetter(next)) {
            readWord();
        } else {
            m_position = std::min(m_position + 1, m_text.size());
            if (next == '\\' || next == '{' || next == '}') {
                addCode(static_cast<unsigned char>(next));
            }
        }
    }

    void readWord() {
        const std::size_t start = m_position;
        while (m_position < m_text.size() && isLetter(m_text[m_position])) {
            ++m_position;
        }
        const std::string_view word = m_text.substr(start, m_position - start);
        int number = 0;
        const auto [end, error] =
            std::from_chars(m_text.data() + m_position, m_text.data() + m_text.size(), number);
        m_position = static_cast<std::size_t>(end - m_text.data());
        if (word == "u" && error == std::errc()) {
            addCode16(static_cast<char16_t>(number));
            // The letter that stands in for it where it is not understood.
            if (m_position < m_text.size() && !isBlank(m_text[m_position]) &&
                m_text[m_position] != '\\' && m_text[m_position] != '}' &&
                m_text[m_position] != '{') {
                ++m_position;
            }
            return;
        }
        m_isNameOver = true;
        const int twips = std::clamp(number, 0, largestTwips);
        if (word == "width") {
            m_width = twips;
        } else if (word == "height") {
            m_height = twips;
        }
    }

    void addCode16(char16_t unit) {
        if (unit >= 0xD800 && unit < 0xDC00) {
            m_pendingHigh = unit;
            return;
        }
        if (unit >= 0xDC00 && unit < 0xE000) {
            if (m_pendingHigh != 0) {
                addCode(0x10000U + (static_cast<char32_t>(m_pendingHigh - 0xD800U) << 10U) +
                        (unit - 0xDC00U));
            }
            m_pendingHigh = 0;
            return;
        }
        addCode(unit);
    }

    void addCode(char32_t code) {
        if (!m_isNameOver) {
            appendUTF8(m_name, code);
        }
    }

    std::string_view m_text;
    std::size_t m_position = 0;
    std::string m_name;
    bool m_isNameOver = false;
    char16_t m_pendingHigh = 0;
    int m_width = 0;
    int m_height = 0;
};

/// A name that could be a file's in the package itself.
bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

std::string_view pictureWordFor(const std::string& content) {
    if (content.starts_with("\x89PNG\r\n\x1A\n")) {
        return "\\pngblip";
    }
    return content.starts_with("\xFF\xD8\xFF") ? "\\jpegblip" : std::string_view();
}

void appendPicture(std::string& text, const Reference& reference, const std::string& content,
                   std::string_view word) {
    constexpr std::string_view digits = "0123456789abcdef";
    text.append("{\\pict").append(word);
    if (reference.width() > 0 && reference.height() > 0) {
        text += "\\picwgoal" + std::to_string(reference.width()) + "\\pichgoal" +
                std::to_string(reference.height());
    }
    text += '\n';
    std::size_t inLine = 0;
    for (const char character : content) {
        const auto byte = static_cast<unsigned char>(character);
        text += {digits[byte >> 4U], digits[byte & 15U]};
        inLine += 2;
        if (inLine == hexDigitsInLine) {
            text += '\n';
            inLine = 0;
        }
    }
    text += '}';
}

void appendName(std::string& text, const std::string& name) {
    text += '[';
    for (const char character : name) {
        const bool isSafe = character >= ' ' && character < '\x7F' && character != '\\' &&
                            character != '{' && character != '}';
        text += isSafe ? character : '?';
    }
    text += ']';
}

/// Passes over the one character that stands for the attachment, and the end of the group around
/// both. 0 when something else is there.
std::size_t lengthOfPlaceholder(std::string_view text) {
    std::size_t position = 0;
    const auto skipBlanks = [&]() {
        while (position < text.size() && isBlank(text[position])) {
            ++position;
        }
    };
    skipBlanks();
    if (text.substr(position).starts_with("\\'")) {
        position += 4;
    } else if (position < text.size() && text[position] != '}' && text[position] != '{' &&
               text[position] != '\\') {
        ++position;
        while (position < text.size() &&
               (static_cast<unsigned char>(text[position]) & 0xC0U) == 0x80U) {
            ++position; // the rest of the same character
        }
    }
    skipBlanks();
    return position < text.size() && text[position] == '}' ? position + 1 : 0;
}

std::optional<std::string> readFileIn(const FileDescriptor& folder, const std::string& name,
                                      std::uint64_t limit) {
    const FileDescriptor file(::openat(folder.get(), name.c_str(),
                                       O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size < 0 || static_cast<std::uint64_t>(status.st_size) > limit) {
        return std::nullopt;
    }
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    const auto got = readAt(file, name, content, 0);
    if (!got) {
        return std::nullopt;
    }
    content.resize(*got);
    return content;
}

} // namespace

RichText withAttachments(std::string_view richText, const AttachmentReader& read) {
    RichText result;
    std::size_t done = 0;
    std::size_t searched = 0;
    while (true) {
        const std::size_t word = richText.find(attachmentWord, searched);
        if (word == std::string_view::npos) {
            break;
        }
        searched = word + attachmentWord.size();
        Reference reference(richText.substr(searched));
        const bool isGroup = word > done && richText[word - 1] == '{';
        const bool isWhole = searched < richText.size() && !isLetter(richText[searched]);
        if (!isGroup || !isWhole || !reference.read()) {
            continue;
        }
        std::size_t start = word - 1;
        std::size_t end = searched + reference.length();
        if (start > done && richText[start - 1] == '{') {
            if (const std::size_t rest = lengthOfPlaceholder(richText.substr(end))) {
                --start;
                end += rest;
            }
        }
        result.text.append(richText.substr(done, start - done));
        done = searched = end;
        const auto content = isPlainName(reference.name()) ? read(reference.name()) : std::nullopt;
        const std::string_view picture = content ? pictureWordFor(*content) : std::string_view();
        if (!picture.empty()) {
            appendPicture(result.text, reference, *content, picture);
        } else {
            appendName(result.text, reference.name());
            result.notices.push_back(
                "its attachment \"" + reference.name() +
                (content ? "\" is no picture that can be shown" : "\" cannot be read"));
        }
    }
    result.text.append(richText.substr(done));
    return result;
}

FileResult<RichText> readRichTextPackage(const fs::path& folder) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen()) {
        return tl::unexpected(FileError::fromErrno(folder, errno));
    }
    const auto text = readFileIn(opened, std::string(textName), largestRichTextPackage);
    if (!text) {
        return tl::unexpected(FileError{folder, "there is no text in it (TXT.rtf)", 0});
    }
    std::uint64_t left = largestRichTextPackage - text->size();
    return withAttachments(*text, [&opened, &left](const std::string& name) {
        auto content = readFileIn(opened, name, left);
        left -= content ? content->size() : 0;
        return content;
    });
}

} // namespace quillorn
