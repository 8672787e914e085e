#include "platform/imaging/worker/DrawingFrame.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace quillorn::worker {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/// Pixels, and whether they came from a unit that can be measured with a ruler.
struct Length {
    double pixels = 0;
    bool isPhysical = false;
};

struct Unit {
    std::string_view name;
    Length one;
};

// CSS Values and Units, 5 and 6. A letter's size is not known here; 16 pixels is the usual one.
constexpr std::array<Unit, 10> units{{
    {"", {1, false}},
    {"px", {1, false}},
    {"em", {16, false}},
    {"ex", {8, false}},
    {"pt", {96 / 72.0, true}},
    {"pc", {16, true}},
    {"in", {96, true}},
    {"cm", {96 / 2.54, true}},
    {"mm", {96 / 25.4, true}},
    {"Q", {96 / 101.6, true}},
}};
constexpr double pointsAPixel = 72 / 96.0;
constexpr double largest = 1e7;

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// Takes a number from the front of `text`.
std::optional<double> takeNumber(std::string_view& text) {
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number)) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// Nothing for shares of something else ("100%"), nonsense, and what cannot be a size.
std::optional<Length> lengthOf(std::string_view text) {
    text = trimmed(text);
    const auto number = takeNumber(text);
    const auto* const unit = std::ranges::find(units, trimmed(text), &Unit::name);
    if (!number || unit == units.end() || !(*number > 0) ||
        !(*number * unit->one.pixels <= largest)) {
        return std::nullopt;
    }
    return Length{*number * unit->one.pixels, unit->one.isPhysical};
}

std::optional<DrawingBox> boxOf(std::string_view text) {
    std::array<double, 4> numbers{};
    for (double& number : numbers) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n,"), text.size()));
        const auto taken = takeNumber(text);
        if (!taken || std::abs(*taken) > largest) {
            return std::nullopt;
        }
        number = *taken;
    }
    const DrawingBox box{numbers[0], numbers[1], numbers[2], numbers[3]};
    return box.width > 0 && box.height > 0 ? std::optional(box) : std::nullopt;
}

DrawingFrame::Fit fitOf(std::string_view text) {
    const auto share = [](std::string_view word) {
        return word == "Min" ? 0 : word == "Max" ? 1 : 0.5;
    };
    text = trimmed(text);
    const std::size_t blank = text.find_first_of(blanks);
    const std::string_view align = text.substr(0, blank);
    DrawingFrame::Fit fit;
    if (align == "none") {
        fit.keepsProportions = false;
    } else if (constexpr std::size_t lengthOfAlign = 8; align.size() == lengthOfAlign) {
        fit.horizontally = share(align.substr(1, 3)); // as in xMidYMin
        fit.vertically = share(align.substr(5, 3));
    }
    fit.fills = blank != std::string_view::npos && trimmed(text.substr(blank)) == "slice";
    return fit;
}

using Attributes = std::map<std::string, std::string_view, std::less<>>;

/// Those of the first element.
Attributes rootAttributes(std::string_view text) {
    Attributes attributes;
    text.remove_prefix(std::min(text.find('<'), text.size()));
    text.remove_prefix(std::min(text.find_first_of(" \t\r\n>"), text.size()));
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        const std::size_t equals = text.find_first_of("=>");
        if (equals == std::string_view::npos || text[equals] == '>') {
            return attributes;
        }
        const std::string_view name = trimmed(text.substr(0, equals));
        text = text.substr(equals + 1);
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        if (!text.starts_with('"') && !text.starts_with('\'')) {
            return attributes;
        }
        const std::size_t end = text.find(text.front(), 1);
        if (end == std::string_view::npos) {
            return attributes;
        }
        attributes.try_emplace(std::string(name), text.substr(1, end - 1));
        text.remove_prefix(end + 1);
    }
}

} // namespace

DrawingFrame readDrawingFrame(std::string_view text) {
    const Attributes attributes = rootAttributes(text);
    const auto attribute = [&attributes](std::string_view name) {
        const auto found = attributes.find(name);
        return found == attributes.end() ? std::string_view() : found->second;
    };
    DrawingFrame frame;
    frame.viewBox = boxOf(attribute("viewBox"));
    frame.fit = fitOf(attribute("preserveAspectRatio"));
    auto width = lengthOf(attribute("width"));
    auto height = lengthOf(attribute("height"));
    if (frame.viewBox) {
        const double proportions = frame.viewBox->width / frame.viewBox->height;
        if (!width && !height) {
            width = Length{frame.viewBox->width, false};
            height = Length{frame.viewBox->height, false};
        } else if (!width) {
            width = Length{height->pixels * proportions, height->isPhysical};
        } else if (!height) {
            height = Length{width->pixels / proportions, width->isPhysical};
        }
    }
    if (width && height) {
        const double scale = width->isPhysical || height->isPhysical ? pointsAPixel : 1;
        frame.width = width->pixels * scale;
        frame.height = height->pixels * scale;
        if (!frame.viewBox) {
            frame.viewBox = DrawingBox{0, 0, width->pixels, height->pixels};
        }
    }
    return frame;
}

DrawingBox placeInFrame(const DrawingBox& viewBox, const DrawingFrame::Fit& fit, double width,
                        double height) {
    if (!fit.keepsProportions) {
        return {0, 0, width, height};
    }
    const double across = width / viewBox.width;
    const double down = height / viewBox.height;
    const double scale = fit.fills ? std::max(across, down) : std::min(across, down);
    const double w = viewBox.width * scale;
    const double h = viewBox.height * scale;
    return {(width - w) * fit.horizontally, (height - h) * fit.vertically, w, h};
}

} // namespace quillorn::worker
