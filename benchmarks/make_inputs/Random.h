#pragma once

#include <cstdint>

namespace bench {

/// A small seeded generator (splitmix64, Steele, Lea and Flood 2014). The standard distributions
/// may differ between libraries; these inputs must not, so every draw is made here.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
        return z ^ (z >> 31U);
    }

    /// A number from 0 up to, not including, limit. limit must be above 0; the tiny bias of the
    /// remainder does not matter here.
    int below(int limit) { return static_cast<int>(next() % static_cast<std::uint64_t>(limit)); }

    /// A number from low to high, both included.
    int between(int low, int high) { return low + below(high - low + 1); }

private:
    std::uint64_t state_;
};

} // namespace bench
