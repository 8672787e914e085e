#pragma once

#include "platform/pdf/PDFPage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace quillorn {

/// A page to be drawn: a place in a source, its rotation, and a frame in device pixels into which
/// the picture fits. Two of them are the same when their pictures would be.
struct ThumbnailRequest {
    std::shared_ptr<const PDFSource> source;
    std::size_t page = 0;     ///< from 0
    int rotation = 0;         ///< degrees clockwise on top of the page's own: 0, 90, 180 or 270
    std::uint32_t width = 0;  ///< device pixels
    std::uint32_t height = 0; ///< device pixels

    /// The request for a page as it is used. A rotation that is no quarter turn counts as the
    /// quarter turn below it, which is how pages are written too.
    [[nodiscard]] static ThumbnailRequest of(const PDFPageReference& page, std::uint32_t width,
                                             std::uint32_t height);
    bool operator==(const ThumbnailRequest&) const = default;
};

/// A page as it is seen, on white.
struct Thumbnail {
    enum class State {
        drawn,
        undrawable ///< the page, or its document, is damaged or takes too much to draw
    };

    State state = State::undrawable;
    std::uint32_t width = 0;           ///< device pixels; 0 unless drawn
    std::uint32_t height = 0;          ///< device pixels; 0 unless drawn
    std::vector<std::uint32_t> pixels; ///< 0xAARRGGBB, opaque; rows without gaps
};

} // namespace quillorn
