#include "platform/pdf/OpeningFacts.h"

#include "platform/files/FileSnapshot.h"
#include "platform/pdf/PDFSource.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

using tests::RawPDF;
using tests::readFile;
using tests::referenceTo;
using tests::writeFile;

constexpr std::size_t pages = 300; // few enough and they would be counted
constexpr int firstPage = 20;
constexpr std::size_t objects = firstPage + pages + 1; // the last is the cross-reference stream

/// References to so many pages.
std::string kidsOf(std::size_t count) {
    std::string kids;
    for (std::size_t i = 0; i < count; ++i) {
        kids += referenceTo(firstPage + i) + " ";
    }
    return kids;
}

/// A document with cross-reference streams whose catalogue, page tree and pages are packed.
RawPDF packedDocument(const std::string& catalogueEntries = "", std::size_t stated = pages) {
    std::vector<std::pair<int, std::string>> packed;
    for (std::size_t i = 0; i < pages; ++i) {
        const auto number = firstPage + static_cast<int>(i);
        packed.emplace_back(number, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 " +
                                        std::to_string(100 + i) + "] >>");
    }
    RawPDF pdf;
    pdf.objectStream(10, {{1, "<< /Type /Catalog /Pages 2 0 R " + catalogueEntries + ">>"},
                          {2, "<< /Type /Pages /Count " + std::to_string(stated) + " /Kids [" +
                                  kidsOf(pages) + "] >>"}});
    pdf.objectStream(11, packed);
    return pdf;
}

/// The same with a table and every object by itself. Object `asStream`, 1 for the catalogue or 2
/// for the page tree, gets data and so becomes a stream.
RawPDF looseDocument(int asStream = 0) {
    const auto add = [asStream](RawPDF& pdf, int number, const std::string& entries) {
        if (number == asStream) {
            pdf.stream(number, entries, "");
        } else {
            pdf.object(number, "<< " + entries + " >>");
        }
    };
    RawPDF pdf;
    add(pdf, 1, "/Type /Catalog /Pages 2 0 R");
    add(pdf, 2, "/Type /Pages /Count " + std::to_string(pages) + " /Kids [" + kidsOf(pages) + "]");
    for (std::size_t i = 0; i < pages; ++i) {
        pdf.object(firstPage + static_cast<int>(i),
                   "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>");
    }
    return pdf;
}

/// The same number of pages, found through a table.
std::string tableDocument() {
    return tests::TestPDF("table", pages).bytes();
}

/// `bytes` with a change appended as programs save one: a new catalogue, and a cross-reference
/// stream with `entries` for it that refers to the one before.
std::string changed(std::string bytes, const std::string& catalogue, std::size_t size,
                    const std::string& entries = "") {
    const std::size_t mark = bytes.rfind("startxref");
    const std::string before = std::to_string(std::stoul(bytes.substr(mark + 9)));
    const auto offset = static_cast<std::uint32_t>(bytes.size());
    bytes += "1 0 obj\n" + catalogue + "\nendobj\n";
    const std::string start = std::to_string(bytes.size());
    std::string field{'\1'};
    for (unsigned shift : {24U, 16U, 8U, 0U}) {
        field += static_cast<char>(offset >> shift);
    }
    bytes += "9 0 obj\n<< /Type /XRef /W [1 4 0] /Index [1 1] /Root 1 0 R /Size " +
             std::to_string(size) + " /Prev " + before + " /Length 5 " + entries + ">>\nstream\n" +
             field + "\nendstream\nendobj\nstartxref\n" + start + "\n%%EOF\n";
    return bytes;
}

class OpeningFactsTest : public testing::Test {
protected:
    [[nodiscard]] PDFReaderInput inputOf(const std::string& bytes) const {
        writeFile(m_file, bytes);
        auto descriptor =
            std::make_shared<const FileDescriptor>(::open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
        return PDFReaderInput{std::move(descriptor), m_file, bytes.size(), ""};
    }
    [[nodiscard]] std::optional<OpeningFacts> factsOf(const std::string& bytes) const {
        return readOpeningFacts(inputOf(bytes));
    }
    [[nodiscard]] std::optional<OpeningFacts> libraryFactsOf(const std::string& bytes) const {
        return openingFactsByLibrary(inputOf(bytes));
    }
    [[nodiscard]] std::size_t openedPages(const std::string& bytes) const {
        writeFile(m_file, bytes);
        const auto source = PDFSource::open(m_file);
        return source ? (*source)->pageCount() : 0;
    }
    /// That a file is left to libqpdf, which finds all its pages.
    void expectLeftToLibrary(const std::string& bytes) const {
        EXPECT_FALSE(factsOf(bytes).has_value());
        EXPECT_EQ(openedPages(bytes), pages);
    }

    tests::TemporaryFolder m_folder;
    std::filesystem::path m_file = m_folder / "in.pdf";
};

TEST_F(OpeningFactsTest, AreTakenFromPackedObjects) {
    EXPECT_EQ(factsOf(packedDocument().bytes()), (OpeningFacts{{1, 5}, pages}));
    EXPECT_EQ(openedPages(packedDocument().bytes()), pages);
}

TEST_F(OpeningFactsTest, TheCataloguesVersionCountsWhereItIsLater) {
    EXPECT_EQ(factsOf(packedDocument("/Version /1.7 ").bytes()), (OpeningFacts{{1, 7}, pages}));
    EXPECT_EQ(factsOf(packedDocument("/Version /1.2 ").bytes()), (OpeningFacts{{1, 5}, pages}));
}

TEST_F(OpeningFactsTest, ASavedChangeCounts) {
    const std::string before = packedDocument().bytes();
    const std::string after =
        changed(before, "<< /Type /Catalog /Pages 2 0 R /Version /2.0 >>", objects);
    EXPECT_EQ(factsOf(after), (OpeningFacts{{2, 0}, pages}));
    EXPECT_EQ(libraryFactsOf(after), factsOf(after));
}

TEST_F(OpeningFactsTest, ChangesThatReferToEachOtherAreLeftToTheLibrary) {
    std::string bytes =
        changed(packedDocument().bytes(), "<< /Type /Catalog /Pages 2 0 R >>", objects);
    const std::size_t start = std::stoul(bytes.substr(bytes.rfind("startxref") + 9));
    const std::size_t previous = bytes.rfind("/Prev ") + 6;
    const std::size_t end = bytes.find(' ', previous);
    std::string itself = std::to_string(start);
    itself.resize(end - previous, ' ');
    bytes.replace(previous, end - previous, itself);
    EXPECT_FALSE(factsOf(bytes).has_value());
}

TEST_F(OpeningFactsTest, AnEncryptedDocumentIsLeftToTheLibrary) {
    const auto plain = packedDocument().writeTo(m_folder / "plain.pdf");
    const auto locked = tests::encryptPDF(plain, m_folder / "locked.pdf", {});
    expectLeftToLibrary(readFile(locked));
}

TEST_F(OpeningFactsTest, AFewPagesAreCounted) {
    EXPECT_FALSE(factsOf(packedDocument("", 256).bytes()).has_value());
    EXPECT_TRUE(factsOf(packedDocument("", 257).bytes()).has_value());
}

TEST_F(OpeningFactsTest, MorePagesThanObjectsAreNotBelieved) {
    expectLeftToLibrary(packedDocument("", 5000).bytes());
}

TEST_F(OpeningFactsTest, WhatStandsBeforeTheHeaderIsLeftToTheLibrary) {
    expectLeftToLibrary("\n" + packedDocument().bytes());
}

TEST_F(OpeningFactsTest, ACutFileIsLeftToTheLibrary) {
    const std::string bytes = packedDocument().bytes();
    for (std::size_t cut = 1; cut < 60; ++cut) {
        const std::string shorter = bytes.substr(0, bytes.size() - cut);
        const auto facts = factsOf(shorter);
        EXPECT_TRUE(!facts || facts == libraryFactsOf(shorter)) << cut;
    }
    EXPECT_FALSE(factsOf(bytes.substr(0, bytes.rfind("startxref"))).has_value());
}

TEST_F(OpeningFactsTest, ASizeThatDoesNotFitIsLeftToTheLibrary) {
    const std::string bytes = packedDocument().bytes();
    const std::size_t number = bytes.rfind("/Size ") + 6;
    std::string smaller = bytes;
    smaller[number + 2] = static_cast<char>(smaller[number + 2] - 1);
    ASSERT_TRUE(factsOf(bytes).has_value());
    EXPECT_FALSE(factsOf(smaller).has_value());
}

TEST_F(OpeningFactsTest, AreTakenFromATable) {
    EXPECT_EQ(factsOf(tableDocument()), (OpeningFacts{{1, 7}, pages}));
}

TEST_F(OpeningFactsTest, ATableAndStreamsTogetherAreLeftToTheLibrary) {
    tests::TestPDF document("hybrid", pages);
    document.addTrailerEntry("/XRefStm 20");
    EXPECT_FALSE(factsOf(document.bytes()).has_value());
}

TEST_F(OpeningFactsTest, ATableOfOddLinesIsLeftToTheLibrary) {
    std::string bytes = tableDocument();
    const std::size_t line = bytes.rfind("xref\n0", bytes.rfind("trailer"));
    ASSERT_NE(line, std::string::npos);
    const std::size_t entry = bytes.find(" n", line);
    bytes[entry + 1] = 'x';
    EXPECT_FALSE(factsOf(bytes).has_value());
}

TEST_F(OpeningFactsTest, APageTreeElsewhereIsLeftToTheLibrary) {
    RawPDF pdf = packedDocument();
    pdf.compressed(2, 10, 0); // the catalogue's place
    EXPECT_FALSE(factsOf(pdf.bytes()).has_value());
}

TEST_F(OpeningFactsTest, AWordOfTheFormatInAStringDoesNotMislead) {
    const std::string bytes =
        changed(packedDocument().bytes(), "<< /Type /Catalog /Note (stream endobj) /Pages 2 0 R >>",
                objects);
    expectLeftToLibrary(bytes);
}

TEST_F(OpeningFactsTest, ANumberInOneWordWithStartxrefIsLeftToTheLibrary) {
    std::string bytes = tableDocument();
    const std::size_t gap = bytes.rfind("startxref") + 9;
    ASSERT_EQ(bytes[gap], '\n');
    bytes.erase(gap, 1);
    EXPECT_FALSE(libraryFactsOf(bytes).has_value());
    expectLeftToLibrary(bytes);
}

TEST_F(OpeningFactsTest, AStreamIsNoCatalogueAndNoPageTree) {
    for (const int asStream : {0, 1, 2}) {
        const std::string bytes = looseDocument(asStream).bytes();
        EXPECT_EQ(factsOf(bytes), asStream == 0 ? libraryFactsOf(bytes) : std::nullopt) << asStream;
        EXPECT_EQ(libraryFactsOf(bytes).has_value(), asStream == 0) << asStream;
    }
}

TEST_F(OpeningFactsTest, AnObjectThatNothingFollowsIsLeftToTheLibrary) {
    const std::string catalogue = "1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj";
    RawPDF document = looseDocument();
    const std::size_t length = document.claimOffset(1, 1'000'000).bytes().size();
    const std::string bytes = document.claimOffset(1, length).bytes();
    ASSERT_EQ(bytes.size(), length);
    for (const char* end : {"", "\n", " \n", "x", "x\n%", "%\n"}) {
        EXPECT_FALSE(factsOf(bytes + catalogue + end).has_value()) << end;
    }
    const std::string followed = bytes + catalogue + "\n%";
    ASSERT_TRUE(factsOf(followed).has_value());
    EXPECT_EQ(factsOf(followed), libraryFactsOf(followed));
}

TEST_F(OpeningFactsTest, AnObjectNumberBeyondAnIntIsLeftToTheLibrary) {
    std::string bytes =
        changed(packedDocument().bytes(), "<< /Type /Catalog /Pages 2 0 R >>", objects);
    const std::size_t stream = bytes.rfind("\n9 0 obj") + 1;
    ASSERT_NE(stream, 0U);
    for (const char* digits : {"214748364", "4294967296"}) { // in front of the 9
        const std::string large = std::string(bytes).insert(stream, digits);
        EXPECT_FALSE(libraryFactsOf(large).has_value());
        EXPECT_FALSE(factsOf(large).has_value());
    }
    bytes.insert(stream, "21474836");
    EXPECT_TRUE(libraryFactsOf(bytes).has_value());
    EXPECT_EQ(factsOf(bytes), libraryFactsOf(bytes));
}

TEST_F(OpeningFactsTest, ANumberThatAnObjectStreamListsTwiceIsLeftToTheLibrary) {
    const std::string tree = "<< /Type /Pages /Count 300 /Kids [" + kidsOf(pages) + "] >>";
    const std::string other = "<< /Type /Pages /Count 299 /Kids [" + kidsOf(pages - 1) + "] >>";
    RawPDF pdf = packedDocument();
    pdf.objectStream(
        10, {{1, "<< /Type /Catalog /Pages 2 0 R >>"}, {2, tree}, {3, "null"}, {2, other}});
    pdf.compressed(2, 10, 1);
    ASSERT_EQ(libraryFactsOf(pdf.bytes()), (OpeningFacts{{1, 5}, pages - 1}));
    EXPECT_FALSE(factsOf(pdf.bytes()).has_value());
}

/// Whatever is damaged: libqpdf would say the same, or is asked.
TEST_F(OpeningFactsTest, ADamagedFileNeverMisleads) {
    const std::string packed =
        changed(packedDocument().bytes(), "<< /Type /Catalog /Pages 2 0 R >>", objects);
    std::mt19937 random(7); // NOLINT: the same damage in every run
    for (const std::string& whole : {packed, tableDocument()}) {
        std::size_t taken = 0;
        for (int round = 0; round < 1500; ++round) {
            std::string bytes = whole;
            const auto damages = 1 + random() % 3;
            for (unsigned i = 0; i < damages; ++i) {
                bytes[random() % bytes.size()] = static_cast<char>(random() % 256);
            }
            if (const auto facts = factsOf(bytes)) {
                ++taken;
                EXPECT_EQ(facts, libraryFactsOf(bytes)) << "round " << round;
            }
        }
        EXPECT_GT(taken, 10U);
    }
}

} // namespace
} // namespace quillorn
