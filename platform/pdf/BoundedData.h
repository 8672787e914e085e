#pragma once

#include <cstddef>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace quillorn {

/// The decoded bytes of a stream, or of a page's contents when `pageContents`; nothing when they
/// cannot be decoded or are longer than `limit` bytes. A small stream can decode to any size.
[[nodiscard]] std::optional<std::string> decodedData(QPDFObjectHandle object, std::size_t limit,
                                                     bool pageContents = false);

} // namespace quillorn
