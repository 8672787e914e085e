#include "platform/pdf/PredictorPipeline.h"

#include <algorithm>
#include <cstdlib>

namespace quillorn {

namespace {

constexpr int firstPNGPredictor = 10;
constexpr int mostColors = 32;
constexpr int mostColumns = 1 << 20;

/// PNG's choice among the three neighbours (ISO/IEC 15948, 9.4).
unsigned char paeth(int left, int above, int aboveLeft) {
    const int estimate = left + above - aboveLeft;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toAboveLeft = std::abs(estimate - aboveLeft);
    const int chosen = toLeft <= toAbove && toLeft <= toAboveLeft ? left
                       : toAbove <= toAboveLeft                   ? above
                                                                  : aboveLeft;
    return static_cast<unsigned char>(chosen);
}

unsigned char sum(int difference, int predicted) {
    return static_cast<unsigned char>(difference + predicted);
}

} // namespace

bool PredictorParameters::areSupported() const {
    const bool known =
        predictor == 1 || predictor == 2 || (predictor >= firstPNGPredictor && predictor <= 15);
    const bool sane = colors >= 1 && colors <= mostColors && columns >= 1 &&
                      columns <= mostColumns &&
                      (bitsPerComponent == 1 || bitsPerComponent == 2 || bitsPerComponent == 4 ||
                       bitsPerComponent == 8 || bitsPerComponent == 16);
    return known && sane && (predictor != 2 || bitsPerComponent == 8);
}

std::size_t PredictorParameters::bytesPerRow() const {
    return (static_cast<std::size_t>(columns) * static_cast<std::size_t>(colors) *
                static_cast<std::size_t>(bitsPerComponent) +
            7) /
           8;
}

std::size_t PredictorParameters::bytesPerPixel() const {
    return std::max<std::size_t>(1, static_cast<std::size_t>(colors) *
                                        static_cast<std::size_t>(bitsPerComponent) / 8);
}

PredictorPipeline::PredictorPipeline(const PredictorParameters& parameters, Pipeline* target)
    : Pipeline("predictor", target),
      m_isPNG(parameters.predictor >= firstPNGPredictor),
      m_pixel(parameters.bytesPerPixel()),
      m_row(parameters.bytesPerRow() + (m_isPNG ? 1 : 0)),
      m_previous(m_row.size()) {}

void PredictorPipeline::write(unsigned char const* data, size_t length) {
    while (length > 0) {
        const size_t step = std::min(length, m_row.size() - m_filled);
        std::copy_n(data, step, m_row.begin() + static_cast<std::ptrdiff_t>(m_filled));
        m_filled += step;
        data += step;
        length -= step;
        if (m_filled == m_row.size()) {
            decodeRow();
        }
    }
    passOn();
}

void PredictorPipeline::finish() {
    if (m_filled > 0) { // a last row that is cut short counts as filled up with zeroes
        std::fill(m_row.begin() + static_cast<std::ptrdiff_t>(m_filled), m_row.end(), 0);
        decodeRow();
        passOn();
    }
    getNext()->finish();
}

void PredictorPipeline::decodeRow() {
    if (m_isPNG) {
        undoPNG(m_row[0]);
        m_decoded.insert(m_decoded.end(), m_row.begin() + 1, m_row.end());
        m_previous.swap(m_row);
    } else {
        undoTIFF();
        m_decoded.insert(m_decoded.end(), m_row.begin(), m_row.end());
    }
    m_filled = 0;
}

void PredictorPipeline::passOn() {
    if (!m_decoded.empty()) {
        getNext()->write(m_decoded.data(), m_decoded.size());
        m_decoded.clear();
    }
}

void PredictorPipeline::undoPNG(unsigned filter) {
    // Each filter has its own loop: cross-reference tables of large documents pass through here.
    const std::size_t size = m_row.size();
    unsigned char* const row = m_row.data();
    const unsigned char* const above = m_previous.data();
    switch (filter) {
    case 1:
        for (std::size_t i = 1 + m_pixel; i < size; ++i) {
            row[i] = sum(row[i], row[i - m_pixel]);
        }
        break;
    case 2:
        for (std::size_t i = 1; i < size; ++i) {
            row[i] = sum(row[i], above[i]);
        }
        break;
    case 3:
        for (std::size_t i = 1; i < size; ++i) {
            const int left = i <= m_pixel ? 0 : row[i - m_pixel];
            row[i] = sum(row[i], (left + above[i]) / 2);
        }
        break;
    case 4:
        for (std::size_t i = 1; i < size; ++i) {
            const bool first = i <= m_pixel;
            row[i] = sum(row[i],
                         first ? above[i] : paeth(row[i - m_pixel], above[i], above[i - m_pixel]));
        }
        break;
    default: // none, and filters that do not exist
        break;
    }
}

void PredictorPipeline::undoTIFF() {
    for (std::size_t i = m_pixel; i < m_row.size(); ++i) {
        m_row[i] = static_cast<unsigned char>(m_row[i] + m_row[i - m_pixel]);
    }
}

} // namespace quillorn
