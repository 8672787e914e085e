#include "platform/render/worker/PageDrawing.h"

#include <algorithm>
#include <cmath>

namespace quillorn::render {

PictureSize fitPicture(double pageWidth, double pageHeight, PictureSize frame) {
    const double scale = std::min(frame.width / pageWidth, frame.height / pageHeight);
    const auto side = [scale](double length, std::uint32_t most) {
        const double pixels =
            std::clamp(std::round(length * scale), 1.0, static_cast<double>(most));
        return static_cast<std::uint32_t>(pixels);
    };
    return {side(pageWidth, frame.width), side(pageHeight, frame.height)};
}

} // namespace quillorn::render
