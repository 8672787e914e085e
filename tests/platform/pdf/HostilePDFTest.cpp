#include "tests/fakes/HostilePDF.h"
#include "tests/platform/pdf/WriterTesting.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using tests::deflated;
using tests::PackedPDF;
using tests::RawPDF;

constexpr std::size_t mebibyte = 1U << 20U;

class HostileFiles : public WriterTesting {
protected:
    /// Whether a file opens; either is right as long as it comes to an end.
    bool opens(const std::string& bytes) {
        tests::writeFile(m_folder / "in.pdf", bytes);
        return PDFSource::open(m_folder / "in.pdf").has_value();
    }

    /// A file that is refused because of what it unpacks to.
    void expectRefusedAsBomb(const std::string& bytes) {
        expectBomb(errorOfBytes(bytes), m_folder / "in.pdf");
    }
    static void expectBomb(const PDFError& error, const std::filesystem::path& file) {
        EXPECT_EQ(error.kind, PDFError::Kind::tooLarge) << error.reason;
        EXPECT_EQ(error.reason, "it unpacks to far more data than a document of its size holds");
        EXPECT_EQ(error.file, file);
    }
};

TEST_F(HostileFiles, OfSomeKilobytesThatUnpackToManyMegabytesAreRefused) {
    PackedPDF twice("/FlateDecode /FlateDecode", tests::twiceDeflated);
    twice.padding(64 * mebibyte);
    EXPECT_LT(twice.pdf().bytes().size(), 2'000U);
    expectRefusedAsBomb(twice.pdf().bytes());
    expectRefusedAsBomb(twice.padding(5 * mebibyte).pdf().bytes());
    expectRefusedAsBomb(PackedPDF().padding(128 * mebibyte).pdf().bytes());
}

TEST_F(HostileFiles, MayUnpackToWhatSmallOnesCanNeed) {
    const Source source = open(PackedPDF().padding(3 * mebibyte).pdf());
    ASSERT_TRUE(source);
    EXPECT_EQ(widthOf(source, 0), 345);
}

TEST_F(HostileFiles, MayUnpackToMoreTheLargerTheyAre) {
    RawPDF pdf = PackedPDF().padding(15 * mebibyte).pdf();
    pdf.stream(11, "", std::string(mebibyte / 4, 'x'));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(widthOf(source, 0), 345);
}

// Each of the streams is harmless, and none is read before something in it is asked for.
TEST_F(HostileFiles, ThatUnpackALittleInEachOfManyStreamsAreNotWritten) {
    std::string references;
    RawPDF pdf;
    for (int i = 0; i < 40; ++i) {
        references += std::to_string(100 + i) + " 0 R ";
        const std::string index = std::to_string(100 + i) + " 0 ";
        pdf.compressed(100 + i, 200 + i, 0);
        pdf.stream(200 + i,
                   "/Type /ObjStm /N 1 /First " + std::to_string(index.size()) +
                       " /Filter [/FlateDecode /FlateDecode]",
                   tests::twiceDeflated(index + "(x)" + std::string(mebibyte / 2, ' ')));
    }
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R 4 0 R", 2));
    pdf.object(3, pageBody(2, 300, "/PieceInfo << /X [" + references + "] >>"));
    pdf.object(4, pageBody(2, 400));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    for (const auto& pages : {allPagesOf(source), firstPagesOf(source, 1)}) {
        expectBomb(errorOfWriting(pages), m_folder / "in.pdf");
        EXPECT_FALSE(std::filesystem::exists(m_output));
    }
    write({pageOf(source, 1)});
}

TEST_F(HostileFiles, WithRunLengthsInRunLengthsAreRefused) {
    // A run of 128 bytes 129, which the next stage takes for 64 runs of 128 bytes.
    const auto literal = [](const std::string& data) {
        std::string encoded;
        for (const char ch : data) {
            encoded += std::string(1, '\0') + ch;
        }
        return encoded;
    };
    const auto encode = [&](const std::string& data) {
        std::string encoded = literal(literal(data));
        for (int i = 0; i < 20'000; ++i) {
            encoded += "\x81\x81";
        }
        return encoded;
    };
    expectRefusedAsBomb(PackedPDF("/RunLengthDecode /RunLengthDecode", encode).pdf().bytes());
}

/// Each stage of a chain takes memory before the first byte goes through it.
TEST_F(HostileFiles, WithLongChainsOfFiltersAreRefused) {
    const auto deflatedTimes = [](int times) {
        std::string filters;
        for (int i = 0; i < times; ++i) {
            filters += "/FlateDecode ";
        }
        return PackedPDF(filters, [times](std::string data) {
            for (int i = 0; i < times; ++i) {
                data = deflated(data);
            }
            return data;
        });
    };
    EXPECT_TRUE(opens(deflatedTimes(12).pdf().bytes()));
    EXPECT_FALSE(opens(deflatedTimes(40).pdf().bytes()));
}

TEST_F(HostileFiles, WithEndlessChainsOfFiltersComeToAnEnd) {
    for (const char* name : {"/FlateDecode ", "/LZWDecode ", "/RunLengthDecode ", "/Fl /AHx "}) {
        std::string filters;
        for (int i = 0; i < 100'000; ++i) {
            filters += name;
        }
        EXPECT_FALSE(opens(PackedPDF(filters).pdf().bytes())) << name;
    }
}

TEST_F(HostileFiles, WithRowsOfAbsurdLengthAreRefused) {
    for (const char* predictor : {"2", "12"}) {
        PackedPDF packed;
        packed.parameters(std::string("/DecodeParms << /Columns 2000000000 ") + "/Predictor " +
                          predictor + " >>");
        EXPECT_FALSE(opens(packed.pdf().bytes()));
    }
}

TEST_F(HostileFiles, WithHugeCrossReferenceStreamsAreRefused) {
    const std::string file = tests::pdfOfCrossReferences(64 * mebibyte);
    EXPECT_LT(file.size(), 1'000U);
    expectRefusedAsBomb(file);
}

// What pages draw with is copied as it is; a reader of the output has to cope as it had before.
TEST_F(HostileFiles, WhoseContentsUnpackToManyMegabytesAreCopied) {
    RawPDF pdf;
    pdf.object(1, "<< /Type /Catalog /Pages 2 0 R /Metadata 5 0 R /OutputIntents "
                  "[<< /S /GTS_PDFA1 /DestOutputProfile 5 0 R >>] >>");
    pdf.object(2, nodeBody("3 0 R 4 0 R", 2, "/Resources << /Font << /F 6 0 R /G 7 0 R >> >>"));
    pdf.object(3, pageBody(2, 300, "/Contents 5 0 R"));
    pdf.object(4, pageBody(2, 400, "/Contents [5 0 R 5 0 R 5 0 R 5 0 R]"));
    const std::string bomb = tests::twiceDeflated(std::string(256 * mebibyte, ' '));
    pdf.stream(5, "/Filter [/FlateDecode /FlateDecode]", bomb);
    pdf.object(6, "<< /Type /Font >>").object(7, "<< /Type /Font >>");
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    for (const auto& pages : {allPagesOf(source), firstPagesOf(source, 1)}) {
        const auto written = writePDF(pages, m_output);
        ASSERT_TRUE(written.has_value()) << written.error().reason;
        EXPECT_EQ(open(m_output)->pageCount(), pages.size());
        EXPECT_THAT(tests::readFile(m_output), testing::HasSubstr(bomb));
    }
}

TEST_F(HostileFiles, WithCrossReferenceStreamsThatStateAbsurditiesAreRefused) {
    for (const char* entries :
         {"/W [0 0 0] /Size 2000000000", "/W [1 2 1] /Size 2147483647 /Index [0 2147483647]",
          "/W [1 2 1] /Size 9223372036854775807", "/W [1 999999999 1] /Size 2",
          "/W [-1 2 1] /Size 2", "/W [1 2] /Size 2", "/W (x) /Size (y)", "/Size -3 /W [1 2 1]",
          "/W [1 2 1] /Size 5 /Index [2147483647 5]", "/W [1 2 1] /Size 5 /Index [1 2 3]"}) {
        const std::string catalog = "%PDF-1.5\n1 0 obj\n" + catalogBody + "\nendobj\n";
        const std::string data(64, '\1');
        EXPECT_FALSE(opens(catalog + "2 0 obj\n<< /Type /XRef /Root 1 0 R " + entries +
                           " /Length 64 >>\nstream\n" + data + "\nendstream\nendobj\nstartxref\n" +
                           std::to_string(catalog.size()) + "\n%%EOF\n"))
            << entries;
    }
}

TEST_F(HostileFiles, WhoseCrossReferencesLoopComeToAnEnd) {
    const std::string plain = tests::TestPDF("loop", 2).bytes();
    const std::string start = plain.substr(plain.rfind("startxref") + 10,
                                           plain.rfind("\n%%EOF") - plain.rfind("startxref") - 10);
    for (const std::string& entry :
         {"/Prev " + start, "/XRefStm " + start, std::string("/Prev -1"), std::string("/Prev 0"),
          std::string("/Prev 9223372036854775807"), std::string("/Prev 3 0 R"),
          std::string("/Size 2147483647"), std::string("/Size -1")}) {
        std::string bytes = plain;
        bytes.insert(bytes.rfind("/Root"), entry + " ");
        opens(bytes);
        if (PDFSource::open(m_folder / "in.pdf")) {
            EXPECT_EQ(open(m_folder / "in.pdf")->pageCount(), 2U) << entry;
        }
    }
}

TEST_F(HostileFiles, WithThousandsOfCrossReferenceSectionsComeToAnEnd) {
    std::string bytes = tests::TestPDF("many", 2).bytes();
    std::string start = bytes.substr(bytes.rfind("startxref") + 10);
    start.resize(start.find('\n'));
    for (int i = 0; i < 20'000; ++i) {
        const std::string here = std::to_string(bytes.size());
        bytes += "xref\n0 0\ntrailer\n<< /Size 8 /Root 1 0 R /Prev " + start + " >>\n";
        start = here;
    }
    bytes += "startxref\n" + start + "\n%%EOF\n";
    EXPECT_EQ(openBytes(bytes)->pageCount(), 2U);
}

TEST_F(HostileFiles, WithObjectStreamsInThemselvesComeToAnEnd) {
    RawPDF pdf = PackedPDF().pdf();
    pdf.compressed(10, 10, 0); // the stream is said to stand in itself
    opens(pdf.bytes());
    EXPECT_EQ(open(PackedPDF().parameters("/Extends 10 0 R").pdf())->pageCount(), 1U);
}

TEST_F(HostileFiles, WithLengthsAndFiltersThatLoopComeToAnEnd) {
    for (const char* entries :
         {"/Length 5 0 R", "/Length 9223372036854775807", "/Length -1", "/Filter 5 0 R",
          "/Length 3 /Filter [5 0 R]", "/Length 3 /Filter [[[/FlateDecode]]]",
          "/Length 3 /Filter /FlateDecode /DecodeParms 5 0 R",
          "/Length 3 /Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns 2000000000 "
          "/Colors 2000000000 /BitsPerComponent 32 >>"}) {
        RawPDF pdf;
        pdf.object(1, catalogBody)
            .object(2, nodeBody("3 0 R 4 0 R", 2))
            .object(3, pageBody(2, 300, "/Contents 5 0 R"))
            .object(4, pageBody(2, 400))
            .object(5, std::string("<< ") + entries + " >>\nstream\nabc\nendstream");
        const Source source = open(pdf);
        ASSERT_TRUE(source) << entries;
        EXPECT_EQ(source->pageCount(), 2U);
        for (const auto& pages : {allPagesOf(source), firstPagesOf(source, 1)}) {
            EXPECT_TRUE(writePDF(pages, m_output).has_value()) << entries;
        }
    }
}

TEST_F(HostileFiles, WithUnusableBoxesAndResourcesAreWrittenAsTheyAreShown) {
    RawPDF pdf;
    pdf.object(1, catalogBody);
    pdf.object(2, nodeBody("3 0 R 4 0 R", 5,
                           "/MediaBox [0 0 222 100] /Rotate 90 /Resources << /Font << >> >>"));
    pdf.object(3, "<< /Type /Page /Parent 2 0 R /MediaBox (x) /Rotate /x /Resources 7 >>");
    pdf.object(4, nodeBody("5 0 R 5 0 R 6 0 R", 3, "/MediaBox [0 0 333 100] /CropBox [(x)]"));
    pdf.object(5, "<< /Type /Page /MediaBox [1 2 3] /CropBox 5 0 R >>").object(6, pageBody(4, 444));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(widthOf(source, 0), 222);
    for (const auto& pages : {allPagesOf(source), firstPagesOf(source, 2)}) {
        write(pages);
        const Source written = open(m_output);
        ASSERT_EQ(written->pageCount(), pages.size());
        for (std::size_t i = 0; i < pages.size(); ++i) {
            EXPECT_EQ(written->geometry(i).value(), source->geometry(i).value()) << i;
        }
    }
}

TEST_F(HostileFiles, OfPagesThatReferToThemselvesAreWritten) {
    RawPDF pdf;
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R 4 0 R", 2));
    pdf.object(3, pageBody(2, 300, "/Resources 3 0 R /Contents [3 0 R] /Annots 3 0 R /B [3 0 R]"));
    pdf.object(4, pageBody(2, 400, "/Resources 5 0 R /Annots [4 0 R 5 0 R 1 0 R 2 0 R]"));
    pdf.object(5, "<< /XObject 5 0 R /Font 5 0 R /Parent 5 0 R /Kids [5 0 R] >>");
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    for (const auto& pages : {allPagesOf(source), firstPagesOf(source, 1)}) {
        // No sound file, since the pages are copied as they are; but a file with these pages.
        const auto written = writePDF(pages, m_output);
        ASSERT_TRUE(written.has_value()) << written.error().reason;
        EXPECT_EQ(open(m_output)->pageCount(), pages.size());
    }
}

} // namespace
} // namespace quillorn
