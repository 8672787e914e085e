#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// What a virtual display shows, read from the file that it keeps its picture in (Xvfb -fbdir): no
/// client of the display, so nothing that is measured waits for it.
///
/// Only a grid of samples is looked at, fine enough that every page and every button has many, and
/// coarse enough that a look takes a fraction of a millisecond.
class Screen {
public:
    using Clock = std::chrono::steady_clock;

    /// Throws std::runtime_error when the file is not what Xvfb writes.
    explicit Screen(const std::string& file);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    /// Looks at all samples; whether one changed since the last look.
    bool look();
    [[nodiscard]] Clock::time_point lastChange() const { return m_lastChange; }

    /// From when on this share of the samples that look other now than at first did not change any
    /// more. There must be such samples.
    [[nodiscard]] Clock::time_point complete(double share) const;
    /// Samples that look other now than at first, as a share of all.
    [[nodiscard]] double changedShare() const;
    /// How many colours those samples have: 1 or 2 where a window has nothing but a background.
    [[nodiscard]] std::size_t colors() const;

private:
    [[nodiscard]] std::vector<std::size_t> changed() const;

    const std::uint8_t* m_file = nullptr;
    std::size_t m_length = 0;           ///< bytes of the file
    std::vector<std::size_t> m_places;  ///< of the samples in the file
    std::vector<std::uint32_t> m_first; ///< samples when this was made
    std::vector<std::uint32_t> m_now;
    std::vector<Clock::time_point> m_changes; ///< of each sample the last
    Clock::time_point m_lastChange;
};

} // namespace bench
