#pragma once

#include <algorithm>

namespace quillorn {

/// Places in a browser's contents, in logical pixels; x runs right, y down, the origin is the top
/// left corner of everything there is to scroll through.
struct BrowserPoint {
    int x = 0;
    int y = 0;
    bool operator==(const BrowserPoint&) const = default;
};

/// The pixels from x to right() - 1 and from y to bottom() - 1.
struct BrowserRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] constexpr int right() const { return x + width; }
    [[nodiscard]] constexpr int bottom() const { return y + height; }
    [[nodiscard]] constexpr bool isEmpty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] constexpr bool contains(BrowserPoint point) const {
        return point.x >= x && point.x < right() && point.y >= y && point.y < bottom();
    }
    [[nodiscard]] constexpr bool intersects(const BrowserRect& other) const {
        return !isEmpty() && !other.isEmpty() && x < other.right() && other.x < right() &&
               y < other.bottom() && other.y < bottom();
    }
    /// What a rubber band from one corner to the other covers, both corners included.
    [[nodiscard]] static constexpr BrowserRect between(BrowserPoint a, BrowserPoint b) {
        const int left = std::min(a.x, b.x);
        const int top = std::min(a.y, b.y);
        return {left, top, std::max(a.x, b.x) - left + 1, std::max(a.y, b.y) - top + 1};
    }
    bool operator==(const BrowserRect&) const = default;
};

} // namespace quillorn
