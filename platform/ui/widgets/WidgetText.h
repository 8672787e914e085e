#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <string>
#include <string_view>

namespace quillorn {

/// A text of ours for Qt.
[[nodiscard]] inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The same for a menu or a button, where a single ampersand would mark a key.
[[nodiscard]] inline QString toQStringWithoutMnemonic(std::string_view text) {
    return toQString(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

/// A name or a message as it is shown: control characters become the signs for them, and marks that
/// turn the direction of writing a sign for what cannot be shown. So no name breaks a line, or
/// passes for another one.
[[nodiscard]] inline QString shownText(QString text) {
    constexpr char16_t controlPictures = 0x2400; // one sign for each, in the same order
    constexpr char16_t deletePicture = 0x2421;
    constexpr char16_t newlinePicture = 0x2424;
    const auto isIn = [](char16_t code, char16_t first, char16_t last) {
        return first <= code && code <= last;
    };
    for (QChar& letter : text) {
        const char16_t code = letter.unicode();
        if (code < 0x20) {
            letter = QChar(static_cast<char16_t>(controlPictures + code));
        } else if (code == 0x7f) {
            letter = QChar(deletePicture);
        } else if (isIn(code, 0x2028, 0x2029)) { // separators of lines and paragraphs
            letter = QChar(newlinePicture);
        } else if (isIn(code, 0x80, 0x9f) || code == 0x061c || isIn(code, 0x200e, 0x200f) ||
                   isIn(code, 0x202a, 0x202e) || isIn(code, 0x2066, 0x2069)) {
            letter = QChar(QChar::ReplacementCharacter);
        }
    }
    return text;
}
[[nodiscard]] inline QString shownText(std::string_view text) {
    return shownText(toQString(text));
}

/// A path, whose bytes need not be UTF-8.
[[nodiscard]] inline QString pathToQString(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

[[nodiscard]] inline std::string pathFromQString(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

} // namespace quillorn
