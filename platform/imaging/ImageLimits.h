#pragma once

#include <chrono>
#include <cstdint>

namespace quillorn {

/// How much an image may ask for before it is refused.
struct ImageLimits {
    std::uint64_t fileBytes = 1U << 30U;
    std::uint64_t pixels = 256'000'000; ///< above what cameras and scanners make today
    std::uint32_t side = 300'000;       ///< pixels
    std::uint64_t workerMemory = std::uint64_t{4} << 30U; ///< bytes of address space
    std::uint64_t workerOutput = std::uint64_t{2} << 30U; ///< bytes
    std::chrono::seconds workerProcessorTime{60};
    std::chrono::milliseconds workerDeadline{120'000}; ///< from its start to its end

    /// For a drawing, whose size says nothing of the work: some bytes of it can repeat the same
    /// thing without end.
    std::uint64_t drawingText = 64U << 20U;    ///< bytes, once it is unpacked
    std::uint64_t drawingOutput = 128U << 20U; ///< bytes
    std::chrono::seconds drawingProcessorTime{20};
    std::chrono::milliseconds drawingDeadline{25'000};

    /// The same limits, those of the worker being what a drawing may take.
    [[nodiscard]] ImageLimits forDrawing() const {
        ImageLimits limits = *this;
        limits.workerOutput = drawingOutput;
        limits.workerProcessorTime = drawingProcessorTime;
        limits.workerDeadline = drawingDeadline;
        return limits;
    }

    [[nodiscard]] bool allowSize(std::uint64_t width, std::uint64_t height) const {
        return width > 0 && height > 0 && width <= side && height <= side &&
               width * height <= pixels;
    }
};

} // namespace quillorn
