#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/FullDocument.h"
#include "tests/platform/pdf/carrying/OtherReaders.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

/// Pages of documents with one of everything, in ways that people mix them, as the programs see
/// the result that people read PDFs with. Both must see the same.
class Mixture : public testing::Test {
protected:
    Mixture()
        : one(composition.source("one.pdf", fullDocument("one"))),
          two(composition.source("two.pdf", fullDocument("two"))) {}

    void write() { file.emplace(composition.write("mixture.pdf")); }

    std::filesystem::path path() const { return composition.folder() / "mixture.pdf"; }

    std::string outline() const {
        const std::string seen = outlineByMuPDF(path());
        EXPECT_EQ(outlineByPoppler(path()), seen);
        return seen;
    }

    std::vector<std::string> links() const {
        const std::vector<std::string> seen = linksByMuPDF(path());
        EXPECT_EQ(linksByPoppler(path()), seen);
        return seen;
    }

    /// Poppler draws their values, each on its page.
    std::vector<std::string> fields() const {
        const std::vector<std::string> seen = fieldsByMuPDF(path());
        const std::vector<std::string> texts = pageTexts(path());
        std::map<std::size_t, std::string> values;
        for (const std::string& field : seen) {
            const std::string value = field.substr(field.find(" = ") + 3);
            values[std::stoul(field.substr(1))] = value;
        }
        for (std::size_t page = 1; page <= texts.size(); ++page) {
            const auto value = values.find(page);
            if (value != values.end()) {
                EXPECT_THAT(texts[page - 1], HasSubstr(value->second));
            } else {
                EXPECT_THAT(texts[page - 1], testing::Not(HasSubstr("value of")));
            }
        }
        return seen;
    }

    std::vector<std::string> labels() const {
        const auto ranges = composition.open(path())->labelRanges();
        EXPECT_TRUE(ranges);
        std::vector<std::string> texts;
        for (std::size_t page = 0; ranges && page < file->pageCount(); ++page) {
            texts.push_back(pageLabelText(*ranges, page));
        }
        return texts;
    }

    std::string informationByPoppler() const { return outputOf({"pdfinfo", path().string()}); }
    std::string attachmentsByPoppler() const {
        return outputOf({"pdfdetach", "-list", path().string()});
    }

    Composition composition;
    Composition::Source one;
    Composition::Source two;
    std::optional<WrittenPDF> file;
};

TEST_F(Mixture, OfTwoWholeDocumentsHasAllThatBothHad) {
    composition.add(one).add(two).options().title = "Both Documents";
    write();
    EXPECT_EQ(outline(), "one.pdf > p1\n"
                         "  Start of one > p1\n"
                         "    Middle of one > p2\n"
                         "  End of one > p4\n"
                         "two.pdf > p5\n"
                         "  Start of two > p5\n"
                         "    Middle of two > p6\n"
                         "  End of two > p8\n");
    EXPECT_THAT(links(), ElementsAre("p1 > p3", "p1 > p4", "p5 > p7", "p5 > p8",
                                     "p1 > http://example.org/one", "p5 > http://example.org/two"));
    EXPECT_THAT(fields(), ElementsAre("p2 name = value of one", "p6 name (2) = value of two"));
    EXPECT_THAT(labels(), ElementsAre("i", "ii", "iii", "iv", "i", "ii", "iii", "iv"));
    EXPECT_EQ(attachmentsByPoppler(), "2 embedded files\n1: notes (2).txt\n2: notes.txt\n");
    EXPECT_THAT(informationByPoppler(), HasSubstr("Title:           Both Documents\n"));
}

TEST_F(Mixture, OfSomePagesHasWhatBelongsToThem) {
    composition.add(one, {1, 2}).add(two, {1, 4});
    write();
    EXPECT_EQ(outline(), "one.pdf > p1\n"
                         "  Start of one > p1\n"
                         "    Middle of one > p2\n"
                         "two.pdf > p3\n"
                         "  Start of two > p3\n"
                         "  End of two > p4\n");
    EXPECT_THAT(links(), ElementsAre("p3 > p4", "p1 > http://example.org/one",
                                     "p3 > http://example.org/two"));
    EXPECT_THAT(fields(), ElementsAre("p2 name = value of one"));
    EXPECT_THAT(labels(), ElementsAre("i", "ii", "i", "iv"));
    EXPECT_EQ(composition.notes(),
              "link-removed 2 + 1; outline-entry-dropped 1 (End of one) + 1 (Middle of two)");
}

TEST_F(Mixture, OfReversedDocumentsLeadsToTheSamePages) {
    composition.add(one, {4, 3, 2, 1}).add(two, {4, 3, 2, 1});
    write();
    EXPECT_EQ(outline(), "one.pdf > p1\n"
                         "  Start of one > p4\n"
                         "    Middle of one > p3\n"
                         "  End of one > p1\n"
                         "two.pdf > p5\n"
                         "  Start of two > p8\n"
                         "    Middle of two > p7\n"
                         "  End of two > p5\n");
    EXPECT_THAT(links(), ElementsAre("p4 > p2", "p4 > p1", "p8 > p6", "p8 > p5",
                                     "p4 > http://example.org/one", "p8 > http://example.org/two"));
    EXPECT_THAT(fields(), ElementsAre("p3 name = value of one", "p7 name (2) = value of two"));
    EXPECT_THAT(labels(), ElementsAre("iv", "iii", "ii", "i", "iv", "iii", "ii", "i"));
}

TEST_F(Mixture, OfRepeatedPagesLeadsToTheNearestCopies) {
    composition.add(one).add(two, {2}).add(one);
    write();
    EXPECT_EQ(outline(), "one.pdf > p1\n"
                         "  Start of one > p1\n"
                         "    Middle of one > p2\n"
                         "  End of one > p4\n"
                         "two.pdf > p5\n"
                         "  Start of two > nowhere\n"
                         "    Middle of two > p5\n");
    EXPECT_THAT(links(), ElementsAre("p1 > p3", "p1 > p4", "p6 > p8", "p6 > p9",
                                     "p1 > http://example.org/one", "p6 > http://example.org/one"));
    EXPECT_THAT(fields(), ElementsAre("p2 name = value of one", "p5 name (2) = value of two",
                                      "p7 name = value of one"));
    EXPECT_THAT(file->fields(), UnorderedElementsAre(Pair("name", "/Tx (value of one) on 2 7"),
                                                     Pair("name (2)", "/Tx (value of two) on 5")));
    EXPECT_THAT(labels(), ElementsAre("i", "ii", "iii", "iv", "ii", "i", "ii", "iii", "iv"));
    EXPECT_THAT(attachmentsByPoppler(), HasSubstr("2 embedded files\n"));
}

TEST_F(Mixture, OfThreeInterleavedDocumentsKeepsThemApart) {
    const auto three = composition.source("three.pdf", fullDocument("three"));
    for (const std::size_t page : {1U, 2U, 3U, 4U}) {
        composition.add(three, {page}).add(one, {page}).add(two, {page});
    }
    write();
    EXPECT_EQ(outline(), "three.pdf > p1\n"
                         "  Start of three > p1\n"
                         "    Middle of three > p4\n"
                         "  End of three > p10\n"
                         "one.pdf > p2\n"
                         "  Start of one > p2\n"
                         "    Middle of one > p5\n"
                         "  End of one > p11\n"
                         "two.pdf > p3\n"
                         "  Start of two > p3\n"
                         "    Middle of two > p6\n"
                         "  End of two > p12\n");
    EXPECT_THAT(links(), ElementsAre("p1 > p7", "p1 > p10", "p2 > p8", "p2 > p11", "p3 > p9",
                                     "p3 > p12", "p1 > http://example.org/three",
                                     "p2 > http://example.org/one", "p3 > http://example.org/two"));
    EXPECT_THAT(fields(), ElementsAre("p4 name = value of three", "p5 name (2) = value of one",
                                      "p6 name (3) = value of two"));
    EXPECT_THAT(labels(), ElementsAre("i", "i", "i", "ii", "ii", "ii", "iii", "iii", "iii", "iv",
                                      "iv", "iv"));
    EXPECT_EQ(attachmentsByPoppler(),
              "3 embedded files\n1: notes (2).txt\n2: notes (3).txt\n3: notes.txt\n");
}

TEST_F(Mixture, OfPagesWithNothingHasNothing) {
    composition.add(composition.source("a.pdf", TestPDF("a", 2)))
        .add(composition.source("b.pdf", TestPDF("b", 1)));
    write();
    EXPECT_EQ(outline(), "");
    EXPECT_THAT(links(), IsEmpty());
    EXPECT_THAT(fields(), IsEmpty());
    EXPECT_EQ(composition.notes(), "");
}

} // namespace
} // namespace quillorn::tests
