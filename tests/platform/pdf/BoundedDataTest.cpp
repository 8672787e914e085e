#include "platform/pdf/BoundedData.h"

#include "platform/pdf/DecodingBudget.h"
#include "tests/fakes/HostilePDF.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using tests::deflated;
using tests::RawPDF;

constexpr std::size_t mebibyte = 1U << 20U;

/// The object 5 of documents, decoded.
class BoundedData : public SourceTesting {
protected:
    QPDFObjectHandle object5(RawPDF pdf) {
        pdf.object(1, catalogBody).object(2, nodeBody("3 0 R", 1)).object(3, pageBody(2, 300));
        m_source = open(pdf);
        auto reader = m_source->takeReader();
        if (!reader) {
            ADD_FAILURE() << reader.error().reason;
            return QPDFObjectHandle::newNull();
        }
        m_reader = std::move(*reader);
        return m_reader->document->getObjectByID(5, 0);
    }

    Source m_source;
    std::unique_ptr<PDFReader> m_reader;
};

TEST_F(BoundedData, IsDecodedUpToTheLimit) {
    RawPDF pdf;
    pdf.stream(5, "/Filter /FlateDecode", deflated(std::string(1000, 'x')));
    QPDFObjectHandle stream = object5(pdf);
    std::size_t produced = 0;
    EXPECT_EQ(decodedData(stream, 1000, false, &produced), std::string(1000, 'x'));
    EXPECT_EQ(produced, 1000U);
    EXPECT_EQ(decodedData(stream, 999, false, &produced), std::nullopt);
    EXPECT_LE(produced, 999U);
}

// The last filter drops spaces: it alone would never come to any limit.
TEST_F(BoundedData, IsGivenUpWhereItIsLargeOnlyBetweenItsFilters) {
    RawPDF pdf;
    pdf.stream(5, "/Filter [/FlateDecode /FlateDecode /ASCIIHexDecode]",
               tests::twiceDeflated(std::string(16 * mebibyte, ' ') + "41>"));
    QPDFObjectHandle stream = object5(pdf);
    std::size_t produced = 0;
    EXPECT_EQ(decodedData(stream, mebibyte, false, &produced), std::nullopt);
    EXPECT_EQ(produced, mebibyte) << "the work counts";
    EXPECT_EQ(decodedData(stream, 16 * mebibyte), "A");
}

TEST_F(BoundedData, OfAPageIsThatOfAllItsStreamsWithWordsApart) {
    RawPDF pdf;
    pdf.object(5, pageBody(2, 300, "/Contents [6 0 R null 7 0 R 1 0 R 8 0 R]"));
    pdf.stream(6, "", "q").stream(7, "", "Q\n").stream(8, "/Filter /Fl", deflated("BT"));
    QPDFObjectHandle page = object5(pdf);
    EXPECT_EQ(decodedData(page, 1000, true), "q\nQ\nBT\n");
    EXPECT_EQ(decodedData(page, 5, true), std::nullopt);
    page.replaceKey("/Contents", QPDFObjectHandle::newNull());
    EXPECT_EQ(decodedData(page, 1000, true), "");
}

TEST_F(BoundedData, OfAPageIsNothingWhereAStreamIsDamaged) {
    RawPDF pdf;
    pdf.object(5, pageBody(2, 300, "/Contents [6 0 R 7 0 R]"));
    pdf.stream(6, "/Filter /FlateDecode", "no such data").stream(7, "", "q");
    EXPECT_EQ(decodedData(object5(pdf), 1000, true), std::nullopt);
}

// The limit is for the stream; what says how to decode it may stand among many other objects.
TEST_F(BoundedData, MayHaveItsFiltersInALargeObjectStream) {
    RawPDF pdf;
    pdf.objectStream(9, {{6, "[/FlateDecode 7 0 R]"},
                         {7, "/FlateDecode"},
                         {8, "(" + std::string(2 * mebibyte, 'x') + ")"}});
    pdf.stream(5, "/Filter 6 0 R /DecodeParms [null << /Predictor 7 0 R >>]",
               tests::twiceDeflated("data"));
    QPDFObjectHandle stream = object5(pdf);
    const DecodingScope scope(m_reader->budget);
    EXPECT_EQ(decodedData(stream, 10), std::nullopt) << "its predictor is no number";
    stream.getDict().removeKey("/DecodeParms");
    EXPECT_EQ(decodedData(stream, 10), "data");
    EXPECT_TRUE(m_reader->document->getObjectByID(8, 0).isString());
    EXPECT_FALSE(m_reader->budget.isExceeded());
}

} // namespace
} // namespace quillorn
