#pragma once

#include <array>
#include <optional>
#include <string>

class Page;
class PDFDoc;

namespace quillorn::render {

/// The numbers a to f of a transformation as PDF writes it: x' = ax + cy + e, y' = bx + dy + f.
using Matrix = std::array<double, 6>;

/// First `inner`, then `outer`.
[[nodiscard]] Matrix product(const Matrix& inner, const Matrix& outer);

/// The one thing that a page shows.
struct ShownObject {
    std::string name; ///< among the page's external objects
    Matrix place{1, 0, 0, 1, 0, 0};
};

/// What a page's contents show if that is a single external object besides invisible text, placed
/// without any clipping or other state. Gives up at the first operator that may mean more, which
/// in most other pages is among the first few.
[[nodiscard]] std::optional<ShownObject> onlyShownObject(PDFDoc& document, Page& page);

} // namespace quillorn::render
