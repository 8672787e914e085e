#pragma once

#include <optional>
#include <string_view>

namespace quillorn::worker {

struct DrawingBox {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const DrawingBox&) const = default;
};

/// How large a drawing is, and what of its plane is seen in that, as the root element of its text
/// says: attributes `width`, `height`, `viewBox` and `preserveAspectRatio` of SVG 1.1.
struct DrawingFrame {
    /// Points; 0 where the file does not say. A pixel is a point, as with images that state no
    /// density; but as soon as one side is given in a unit of the world (mm, in, pt), a pixel is
    /// what the standard makes of it, 1/96 inch.
    double width = 0;
    double height = 0;
    /// In the drawing's own units; nothing where the file neither says nor implies it.
    std::optional<DrawingBox> viewBox;
    /// How a view box of other proportions than the frame lies in it.
    struct Fit {
        bool keepsProportions = true;
        bool fills = false;        ///< else it is seen whole
        double horizontally = 0.5; ///< 0 left, 1 right
        double vertically = 0.5;   ///< 0 top, 1 bottom
        bool operator==(const Fit&) const = default;
    } fit;
};

/// Reads the root element of what readDrawingText returned; whatever makes no sense is as good as
/// not stated.
[[nodiscard]] DrawingFrame readDrawingFrame(std::string_view text);

/// Where `viewBox` comes to lie in a frame of this size, y downwards.
[[nodiscard]] DrawingBox placeInFrame(const DrawingBox& viewBox, const DrawingFrame::Fit& fit,
                                      double width, double height);

} // namespace quillorn::worker
