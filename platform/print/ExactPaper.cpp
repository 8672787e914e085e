#include "platform/print/ExactPaper.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace quillorn {

namespace {

constexpr double engineUnit = 72.0 / 300.0; // points
constexpr double pixel = 72.0 / 96.0;       // points

constexpr std::string_view boxStart = "/MediaBox [0 0 ";
constexpr std::size_t longestBox = 64; // bytes

/// What the engine makes of a length.
double rounded(double points) {
    return std::round(std::round(points) / engineUnit) * engineUnit;
}

/// The number that begins here, and what follows it.
std::optional<double> takeNumber(std::string_view& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

/// Hundredths of a point, without what can be left out.
std::string shortText(double points) {
    const long hundredths = std::lround(points * 100);
    const long size = std::labs(hundredths);
    std::string text = hundredths < 0 ? "-" : "";
    text += size >= 100 ? std::to_string(size / 100) : "";
    if (size % 100 != 0) {
        text += "." + std::to_string(size % 100 / 10);
        text += size % 10 != 0 ? std::to_string(size % 10) : "";
    }
    return size == 0 ? "0" : text;
}

double shift(double margin) {
    return std::round(margin / pixel) * pixel - margin;
}

/// A whole number of points is written so shortly that nothing else fits in its place.
bool isShort(double points) {
    return std::abs(points - std::round(points)) < engineUnit / 10;
}

bool isAbout(std::optional<double> value, double expected) {
    return value && std::abs(*value - expected) < engineUnit / 10;
}

} // namespace

ExactPaper::ExactPaper(const PrintInfo& info) : m_info(info), m_request(info) {
    if (isShort(rounded(info.paper.width))) {
        m_request.paper.width += 1;
        m_request.rightMargin += 1;
    }
    if (isShort(rounded(info.paper.height))) {
        m_request.paper.height += 1;
        m_request.bottomMargin += 1;
    }
}

std::optional<std::string> ExactPaper::boxInsteadOf(std::string_view box) const {
    std::string_view numbers = box.substr(boxStart.size());
    const auto width = takeNumber(numbers);
    numbers.remove_prefix(numbers.starts_with(' ') ? 1 : 0);
    const auto height = takeNumber(numbers);
    if (!isAbout(width, rounded(m_request.paper.width)) ||
        !isAbout(height, rounded(m_request.paper.height)) || numbers != "]") {
        return std::nullopt;
    }
    const double left = shift(m_info.leftMargin);
    const double top = *height - shift(m_info.topMargin);
    std::string exact = "/MediaBox [" + shortText(left) + " " +
                        shortText(top - m_info.paper.height) + " " +
                        shortText(left + m_info.paper.width) + " " + shortText(top);
    if (exact.size() + 1 > box.size()) {
        return std::nullopt;
    }
    exact.resize(box.size() - 1, ' ');
    return exact + "]";
}

std::string ExactPaper::corrected(std::string_view block, bool isLast) {
    std::string bytes = std::exchange(m_heldBack, {});
    bytes += block;
    std::size_t done = 0;
    while (true) {
        const std::size_t at = bytes.find(boxStart, done);
        const std::string_view box = at == std::string::npos
                                         ? std::string_view()
                                         : std::string_view(bytes).substr(at, longestBox);
        const std::size_t end = box.find(']');
        if (end != std::string_view::npos) {
            if (const auto exact = boxInsteadOf(box.substr(0, end + 1))) {
                bytes.replace(at, exact->size(), *exact);
            }
            done = at + end;
            continue;
        }
        if (box.size() == longestBox) {
            done = at + 1; // no box of the engine's
            continue;
        }
        if (!isLast) {
            const std::size_t tail =
                bytes.size() - std::min(bytes.size() - done, boxStart.size() - 1);
            m_heldBack = bytes.substr(std::min(at, tail));
            bytes.resize(bytes.size() - m_heldBack.size());
        }
        return bytes;
    }
}

} // namespace quillorn
