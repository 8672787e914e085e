#include "platform/imaging/worker/RowPacking.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <libdeflate.h>
#include <limits>
#include <memory>
#include <new>

namespace quillorn::worker {

namespace {

/// Up to here twice the time for a few percent less is not noticed.
constexpr std::size_t smallImage = 4U << 20U; // bytes
constexpr int thoroughLevel = 9;
constexpr int quickLevel = 6;

enum Filter : std::uint8_t { none, sub, up, average, paeth, filterCount };

std::uint8_t paethPredictor(int left, int above, int corner) {
    const int estimate = left + above - corner;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toCorner = std::abs(estimate - corner);
    if (toLeft <= toAbove && toLeft <= toCorner) {
        return static_cast<std::uint8_t>(left);
    }
    return static_cast<std::uint8_t>(toAbove <= toCorner ? above : corner);
}

/// Chooses for each row the filter whose results are closest to zero, as PNG's authors advise.
class Filtering {
public:
    explicit Filtering(const PlainRows& rows) : m_rows(rows), m_blank(rows.rowBytes) {
        for (auto& result : m_results) {
            result.resize(rows.rowBytes);
        }
    }

    void append(std::size_t row, std::vector<std::uint8_t>& out) {
        const std::uint8_t* const current = m_rows.bytes.data() + row * m_rows.rowBytes;
        const std::uint8_t* const before = row > 0 ? current - m_rows.rowBytes : m_blank.data();
        apply(current, before);
        std::size_t best = 0;
        std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
        for (std::size_t filter = 0; filter < filterCount; ++filter) {
            std::uint64_t sum = 0;
            for (const std::uint8_t value : m_results[filter]) {
                sum += value < 128 ? value : 256U - value;
            }
            if (sum < least) {
                least = sum;
                best = filter;
            }
        }
        out.push_back(static_cast<std::uint8_t>(best));
        out.insert(out.end(), m_results[best].begin(), m_results[best].end());
    }

private:
    void apply(const std::uint8_t* current, const std::uint8_t* before) {
        const std::size_t step = m_rows.pixelBytes;
        for (std::size_t i = 0; i < m_rows.rowBytes; ++i) {
            const int left = i >= step ? current[i - step] : 0;
            const int above = before[i];
            const int corner = i >= step ? before[i - step] : 0;
            const int value = current[i];
            m_results[none][i] = current[i];
            m_results[sub][i] = static_cast<std::uint8_t>(value - left);
            m_results[up][i] = static_cast<std::uint8_t>(value - above);
            m_results[average][i] = static_cast<std::uint8_t>(value - (left + above) / 2);
            m_results[paeth][i] =
                static_cast<std::uint8_t>(value - paethPredictor(left, above, corner));
        }
    }

    const PlainRows& m_rows;
    std::vector<std::uint8_t> m_blank; ///< what stands above the first row
    std::array<std::vector<std::uint8_t>, filterCount> m_results;
};

std::vector<std::uint8_t> unfiltered(const PlainRows& rows) {
    std::vector<std::uint8_t> out;
    out.reserve(rows.bytes.size() + rows.bytes.size() / rows.rowBytes);
    for (std::size_t at = 0; at < rows.bytes.size(); at += rows.rowBytes) {
        out.push_back(none);
        const auto row = rows.bytes.begin() + static_cast<std::ptrdiff_t>(at);
        out.insert(out.end(), row, row + static_cast<std::ptrdiff_t>(rows.rowBytes));
    }
    return out;
}

std::vector<std::uint8_t> filtered(const PlainRows& rows) {
    std::vector<std::uint8_t> out;
    const std::size_t count = rows.bytes.size() / rows.rowBytes;
    out.reserve(rows.bytes.size() + count);
    Filtering filtering(rows);
    for (std::size_t row = 0; row < count; ++row) {
        filtering.append(row, out);
    }
    return out;
}

std::vector<char> zipped(const std::vector<std::uint8_t>& bytes) {
    const int level = bytes.size() <= smallImage ? thoroughLevel : quickLevel;
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
    if (!compressor) {
        throw std::bad_alloc();
    }
    std::vector<char> out(libdeflate_zlib_compress_bound(compressor.get(), bytes.size()));
    // With room for the worst case it always succeeds.
    out.resize(libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(), out.data(),
                                        out.size()));
    out.shrink_to_fit();
    return out;
}

} // namespace

std::vector<char> packedRows(const PlainRows& rows) {
    if (!rows.hasWholeSamples) {
        return zipped(unfiltered(rows));
    }
    std::vector<char> best = zipped(filtered(rows));
    if (rows.bytes.size() <= smallImage) {
        std::vector<char> other = zipped(unfiltered(rows));
        if (other.size() < best.size()) {
            return other;
        }
    }
    return best;
}

} // namespace quillorn::worker
