#include "platform/pdf/BoundedFilters.h"

#include "tests/fakes/Program.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

using tests::deflated;
using tests::RawPDF;
using Encode = std::function<std::string(const std::string&)>;

/// Whole documents in an object stream of some filter: they open only if that decodes right.
class StreamFilters : public SourceTesting {
protected:
    bool decodes(const std::string& filter, const std::string& parameters, const Encode& encode) {
        RawPDF pdf;
        std::string index;
        std::string bodies;
        // Enough and different text for codes of every width, with pages at both ends.
        std::string filler;
        for (int i = 0; i < 4'000; ++i) {
            filler += "(" + std::to_string(i * 7919) + ") ";
        }
        const std::vector<std::string> objects{catalogBody, nodeBody("3 0 R 5 0 R", 2),
                                               pageBody(2, 300), "[" + filler + "]",
                                               pageBody(2, 400)};
        for (std::size_t i = 0; i < objects.size(); ++i) {
            index += std::to_string(i + 1) + " " + std::to_string(bodies.size()) + " ";
            bodies += objects[i] + "\n";
            pdf.compressed(static_cast<int>(i + 1), 10, i);
        }
        std::string data = index + bodies;
        data.resize((data.size() + 11) / 12 * 12, ' '); // whole rows
        pdf.stream(10,
                   "/Type /ObjStm /N 5 /First " + std::to_string(index.size()) + " /Filter " +
                       filter + " " + parameters,
                   encode(data));
        const auto path = pdf.writeTo(m_folder / "in.pdf");
        const auto source = PDFSource::open(path);
        if (!source || (*source)->pageCount() != 2 || widthOf(*source, 0) != 300 ||
            widthOf(*source, 1) != 400) {
            return false;
        }
        // The encoders below are ours, too: whether they do it right is for others to say.
        EXPECT_EQ(tests::Program("qpdf", {"--show-npages", path.string()}).run().output, "2\n")
            << filter << " " << parameters;
        return true;
    }
};

/// What PNG's filters 0 to 4 make of rows of 12 bytes, in turn.
std::string pngRows(const std::string& data, std::size_t pixel) {
    constexpr std::size_t row = 12;
    const auto at = [&data](std::size_t i) { return static_cast<unsigned char>(data[i]); };
    std::string encoded;
    for (std::size_t start = 0; start < data.size(); start += row) {
        const std::size_t filter = start / row % 5;
        encoded += static_cast<char>(filter);
        for (std::size_t i = 0; i < row; ++i) {
            const int left = i < pixel ? 0 : at(start + i - pixel);
            const int above = start == 0 ? 0 : at(start - row + i);
            const int corner = start == 0 || i < pixel ? 0 : at(start - row + i - pixel);
            const int estimate = left + above - corner;
            int nearest = left;
            if (std::abs(estimate - above) < std::abs(estimate - nearest)) {
                nearest = above;
            }
            if (std::abs(estimate - corner) < std::abs(estimate - nearest)) {
                nearest = corner;
            }
            const std::vector<int> predictions{0, left, above, (left + above) / 2, nearest};
            encoded += static_cast<char>(at(start + i) - predictions[filter]);
        }
    }
    return encoded;
}

std::string tiffRows(const std::string& data, std::size_t pixel) {
    constexpr std::size_t row = 12;
    std::string encoded = data;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i % row >= pixel) {
            encoded[i] = static_cast<char>(data[i] - data[i - pixel]);
        }
    }
    return encoded;
}

/// LZW without compression: every byte as itself, a clear before codes grow beyond 9 bits.
class BitWriter {
public:
    void put(unsigned code, unsigned width) {
        for (unsigned bit = width; bit-- > 0;) {
            m_bits.push_back((code >> bit & 1U) != 0);
        }
    }
    [[nodiscard]] std::string bytes() const {
        std::string text((m_bits.size() + 7) / 8, '\0');
        for (std::size_t i = 0; i < m_bits.size(); ++i) {
            if (m_bits[i]) {
                text[i / 8] =
                    static_cast<char>(static_cast<unsigned char>(text[i / 8]) | (0x80U >> (i % 8)));
            }
        }
        return text;
    }

private:
    std::vector<bool> m_bits;
};

/// LZW as an encoder does it that has nothing better to do than look every string up.
std::string lzw(const std::string& data, bool earlyChange) {
    BitWriter writer;
    std::vector<std::string> table;
    unsigned width = 9;
    const auto codeOf = [&table](const std::string& text) -> unsigned {
        if (text.size() == 1) {
            return static_cast<unsigned char>(text[0]);
        }
        for (std::size_t i = 0; i < table.size(); ++i) {
            if (table[i] == text) {
                return static_cast<unsigned>(258 + i);
            }
        }
        return 4096;
    };
    writer.put(256, width);
    std::string pending;
    for (const char ch : data) {
        if (pending.empty() || codeOf(pending + ch) < 4096) {
            pending += ch;
            continue;
        }
        writer.put(codeOf(pending), width);
        table.push_back(pending + ch);
        pending = ch;
        // The decoder's table is one entry behind.
        const std::size_t next = 258 + table.size() - 1 + (earlyChange ? 1 : 0);
        while (width < 12 && next >= (1U << width)) {
            ++width;
        }
        if (table.size() + 258 >= 4094) {
            writer.put(codeOf(pending), width);
            writer.put(256, width);
            table.clear();
            width = 9;
            pending.clear();
        }
    }
    if (!pending.empty()) {
        writer.put(codeOf(pending), width);
        const std::size_t next = 258 + table.size() + (earlyChange ? 1 : 0);
        while (width < 12 && next >= (1U << width)) {
            ++width;
        }
    }
    writer.put(257, width);
    return writer.bytes();
}

TEST_F(StreamFilters, DecodeFlate) {
    EXPECT_TRUE(decodes("/FlateDecode", "", deflated));
    EXPECT_TRUE(decodes("/Fl", "/DecodeParms null", deflated));
    EXPECT_TRUE(decodes("/FlateDecode", "/DecodeParms << /Predictor 1 /Columns 7 >>", deflated));
    EXPECT_FALSE(decodes("/FlateDecode", "", [](const std::string& data) { return data; }));
}

TEST_F(StreamFilters, UndoEveryFilterOfPNG) {
    for (const auto& [colors, columns] : {std::pair(1, 12), std::pair(3, 4), std::pair(4, 3)}) {
        const std::string parameters = "/DecodeParms << /Predictor 15 /Colors " +
                                       std::to_string(colors) + " /Columns " +
                                       std::to_string(columns) + " >>";
        const auto bytes = static_cast<std::size_t>(colors);
        EXPECT_TRUE(decodes("/FlateDecode", parameters, [bytes](const std::string& data) {
            return deflated(pngRows(data, bytes));
        })) << bytes;
    }
}

TEST_F(StreamFilters, UndoPredictorsOfSmallAndLargeSamples) {
    for (const auto& [bits, columns, pixel] :
         {std::tuple(1, 96, 1), std::tuple(4, 24, 1), std::tuple(16, 6, 2)}) {
        const std::string parameters = "/DecodeParms << /Predictor 10 /BitsPerComponent " +
                                       std::to_string(bits) + " /Columns " +
                                       std::to_string(columns) + " >>";
        const auto bytes = static_cast<std::size_t>(pixel);
        EXPECT_TRUE(decodes("/FlateDecode", parameters, [bytes](const std::string& data) {
            return deflated(pngRows(data, bytes));
        })) << bits;
    }
}

TEST_F(StreamFilters, UndoThePredictorOfTIFF) {
    EXPECT_TRUE(decodes("/FlateDecode", "/DecodeParms << /Predictor 2 /Colors 3 /Columns 4 >>",
                        [](const std::string& data) { return deflated(tiffRows(data, 3)); }));
}

TEST_F(StreamFilters, DecodeLZW) {
    EXPECT_TRUE(decodes("/LZWDecode", "", [](const std::string& data) { return lzw(data, true); }));
    EXPECT_TRUE(decodes("/LZWDecode", "/DecodeParms << /EarlyChange 0 >>",
                        [](const std::string& data) { return lzw(data, false); }));
    EXPECT_TRUE(decodes("/LZW", "/DecodeParms << /Predictor 12 /Columns 12 >>",
                        [](const std::string& data) { return lzw(pngRows(data, 1), true); }));
    EXPECT_FALSE(decodes("/LZWDecode", "", [](const std::string& data) { return data; }));
}

TEST_F(StreamFilters, DecodeRunLengths) {
    EXPECT_TRUE(decodes("/RunLengthDecode", "", [](const std::string& data) {
        std::string encoded;
        for (const char ch : data) {
            encoded += std::string(1, '\0') + ch;
        }
        return encoded + "\x80";
    }));
}

TEST_F(StreamFilters, DecodeOneAfterTheOther) {
    EXPECT_TRUE(
        decodes("[/LZWDecode /FlateDecode]", "/DecodeParms [null << /Predictor 12 /Columns 12 >>]",
                [](const std::string& data) { return lzw(deflated(pngRows(data, 1)), true); }));
}

TEST_F(StreamFilters, RefuseParametersThatMakeNoSense) {
    for (const char* parameters :
         {"/Predictor 3", "/Predictor 99", "/Predictor -1", "/Predictor 12 /Columns 0",
          "/Predictor 12 /Columns 2000000000", "/Predictor 12 /Columns 99999999999",
          "/Predictor 12 /Colors 0", "/Predictor 12 /BitsPerComponent 7", "/Predictor (12)",
          "/Predictor 2 /BitsPerComponent 4"}) {
        EXPECT_FALSE(
            decodes("/FlateDecode", std::string("/DecodeParms << ") + parameters + " >>", deflated))
            << parameters;
    }
}

} // namespace
} // namespace quillorn
