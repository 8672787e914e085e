#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace quillorn {

/// What the bytes of a text document are, whatever its name says.
enum class DocumentKind {
    richText,
    wordXML,
    word,   ///< as of Word 97
    word95, ///< or Word 6
    word2,
    other
};

/// Recognises a document by its bytes, all of which are given.
[[nodiscard]] DocumentKind documentKindOf(std::span<const char> document);

/// Why a document of rich text or Word cannot be converted, as far as its bytes tell without
/// reading it: it is empty, locked with a password, or something else; one line for people.
/// Nothing when it is worth trying.
[[nodiscard]] std::optional<std::string_view> reasonAgainstDocument(std::span<const char> document);

} // namespace quillorn
