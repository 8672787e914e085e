#pragma once

#include <string>
#include <string_view>

namespace quillorn {

/// The name of a file in its folder: what follows the last slash. Slashes at the end do not
/// count ("a/b/" is "b"); the root folder is "/".
[[nodiscard]] std::string lastPathComponent(std::string_view path);

/// What follows the last dot of the last path component: "gz" of "a/b.tar.gz". A name that
/// begins with its only dot (".pdf") or ends with a dot has no extension.
[[nodiscard]] std::string pathExtension(std::string_view path);

/// The last path component without its extension and the dot before it: "b.tar" of
/// "a/b.tar.gz", ".pdf" of ".pdf".
[[nodiscard]] std::string baseName(std::string_view path);

/// Whether the extension of `path` is `extension` (lower-case ASCII), in whatever case.
[[nodiscard]] bool hasExtension(std::string_view path, std::string_view extension);

/// A folder's path and a name in it, with one slash between them.
[[nodiscard]] std::string joinedPath(std::string_view folder, std::string_view name);

/// `text` with its only "%@" replaced by `name`: how the messages for the user are kept.
[[nodiscard]] std::string messageText(std::string_view text, std::string_view name);

} // namespace quillorn
