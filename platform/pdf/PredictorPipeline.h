#pragma once

#include <cstddef>
#include <qpdf/Pipeline.hh>
#include <vector>

namespace quillorn {

/// How the samples lie that a predictor worked on (ISO 32000-1, table 8).
struct PredictorParameters {
    int predictor = 1; ///< 1: none, 2: TIFF's, 10 and more: PNG's
    int colors = 1;
    int bitsPerComponent = 8;
    int columns = 1;

    /// Whether such data can be decoded; TIFF's predictor for whole bytes only.
    [[nodiscard]] bool areSupported() const;
    [[nodiscard]] std::size_t bytesPerRow() const;
    [[nodiscard]] std::size_t bytesPerPixel() const;
};

/// Undoes a predictor row by row.
class PredictorPipeline : public Pipeline {
public:
    /// `parameters` are supported ones, with a predictor.
    PredictorPipeline(const PredictorParameters& parameters, Pipeline* target);

    void write(unsigned char const* data, size_t length) override;
    void finish() override;

private:
    void decodeRow();
    void passOn();
    void undoPNG(unsigned filter);
    void undoTIFF();

    bool m_isPNG;
    std::size_t m_pixel;
    std::vector<unsigned char> m_row; ///< with PNG's filter byte before it
    std::vector<unsigned char> m_previous;
    std::vector<unsigned char> m_decoded; ///< rows are short, so many are passed on at once
    std::size_t m_filled = 0;
};

} // namespace quillorn
