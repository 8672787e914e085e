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

/// A path, whose bytes need not be UTF-8.
[[nodiscard]] inline QString pathToQString(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

[[nodiscard]] inline std::string pathFromQString(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

} // namespace quillorn
