#pragma once

#include <cstddef>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace quillorn {

/// The decoded bytes of a stream, or of a page's contents when `pageContents`; nothing when they
/// cannot be decoded or are longer than `limit` bytes. A small stream can decode to any size.
/// `produced` is told how many bytes were made of it, at most `limit`: by the last of its filters
/// or by all, whichever is more, and of data that ended in failure too.
[[nodiscard]] std::optional<std::string> decodedData(QPDFObjectHandle object, std::size_t limit,
                                                     bool pageContents = false,
                                                     std::size_t* produced = nullptr);

} // namespace quillorn
