#include "platform/pdf/PDFVerifier.h"

#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/FullDocument.h"
#include "tests/platform/pdf/carrying/HandmadePDF.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <cctype>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

namespace quillorn::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A written output, and what is found when somebody damages it afterwards.
class Verification : public testing::Test {
public:
    Verification() {
        composition.add(composition.source("one.pdf", fullDocument("one")));
        const std::filesystem::path written = composition.writeUnchecked();
        // The same objects as text that can be edited.
        static_cast<void>(outputOf(
            {"qpdf", "--qdf", "--object-streams=disable", written.string(), file.string()}));
        text = readFile(file);
    }

    /// Replaces what stands once in the output.
    Verification& replace(const std::string& from, const std::string& to) {
        const std::size_t at = text.find(from);
        if (at == std::string::npos || text.find(from, at + 1) != std::string::npos) {
            throw std::runtime_error("not there just once: " + from);
        }
        text.replace(at, from.size(), to);
        return *this;
    }

    /// Lets the reference before a text that stands once lead to an object that is not there.
    Verification& misleadBefore(const std::string& what) {
        const std::size_t end = text.rfind(" 0 R", text.find(what));
        std::size_t start = end;
        while (start > 0 && std::isdigit(static_cast<unsigned char>(text[start - 1])) != 0) {
            --start;
        }
        text.replace(start, end - start, "9999");
        return *this;
    }

    /// Of the output as it is now, with the table of its objects put right.
    PDFVerification verified(std::size_t expectedPages = 4) const {
        writeFile(file, text);
        writeFile(file, outputOf({"fix-qdf", file.string()}));
        const auto verification = verifyPDF(file, expectedPages);
        if (!verification) {
            throw std::runtime_error(verification.error().reason);
        }
        return *verification;
    }

    Composition composition;
    std::filesystem::path file = composition.folder() / "edited.pdf";
    std::string text;
};

TEST_F(Verification, CountsWhatASoundOutputHas) {
    const PDFVerification found = verified();
    EXPECT_THAT(found.problems, IsEmpty());
    EXPECT_TRUE(found.isSound());
    EXPECT_EQ(found.pages, 4U);
    EXPECT_EQ(found.links, 2U);
    EXPECT_EQ(found.outlineEntries, 3U);
}

TEST_F(Verification, TellsOfALinkToNoPage) {
    const PDFVerification found = misleadBefore("/XYZ\n    72\n    400").verified();
    EXPECT_THAT(found.problems, ElementsAre("page 1 leads to no page of the document"));
    EXPECT_FALSE(found.isSound());
    EXPECT_EQ(found.links, 1U);
}

TEST_F(Verification, TellsOfALinkByANameThatIsNotThere) {
    replace("http://example.org/one", "x").replace("/S /URI", "/S /GoTo /D (no such name)");
    EXPECT_THAT(verified().problems, ElementsAre("page 1 leads to no page of the document"));
}

TEST_F(Verification, TellsOfAnOutlineEntryToNoPage) {
    const PDFVerification found = misleadBefore("/FitH").verified();
    EXPECT_THAT(
        found.problems,
        ElementsAre("the outline entry \"Middle of one\" leads to no page of the document"));
    EXPECT_EQ(found.outlineEntries, 2U);
}

TEST_F(Verification, TellsOfAnOutlineThatLoops) {
    const std::size_t next = text.find("/Next ");
    ASSERT_NE(next, std::string::npos);
    // The entry that has a next one is its own next one now.
    const std::size_t object = text.rfind(" 0 obj", next);
    const std::size_t number = text.rfind('\n', object) + 1;
    text.replace(next, text.find(" 0 R", next) - next,
                 "/Next " + text.substr(number, object - number));
    EXPECT_THAT(verified().problems, Contains("the outline loops"));
}

TEST_F(Verification, TellsOfAnotherNumberOfPages) {
    EXPECT_THAT(verified(5).problems, ElementsAre("it has 4 pages instead of 5"));
    EXPECT_THAT(verified(3).problems, ElementsAre("it has 4 pages instead of 3"));
}

TEST_F(Verification, TellsOfAPageThatIsGone) {
    static_cast<void>(outputOf({"qpdf", file.string(), "--pages", ".", "1-2,4", "--",
                                (composition.folder() / "less.pdf").string()}));
    const auto found = verifyPDF(composition.folder() / "less.pdf", 4);
    ASSERT_TRUE(found);
    EXPECT_THAT(found->problems, Contains("it has 3 pages instead of 4"));
    EXPECT_THAT(found->problems, Contains("page 1 leads to no page of the document"));
}

TEST_F(Verification, TellsOfAFileThatHadToBeMended) {
    const std::size_t start = text.rfind("startxref");
    writeFile(file, text.substr(0, start) + "startxref\n1\n%%EOF\n");
    const auto found = verifyPDF(file, 4);
    ASSERT_TRUE(found);
    EXPECT_THAT(found->problems, Contains(HasSubstr("it was mended while it was read")));
}

TEST_F(Verification, TellsOfAFileThatIsCutOff) {
    writeFile(file, text.substr(0, text.size() / 2));
    const auto found = verifyPDF(file, 4);
    EXPECT_TRUE(!found || !found->isSound());
}

TEST_F(Verification, TellsOfAFileThatIsNone) {
    writeFile(file, "Not a PDF.");
    EXPECT_FALSE(verifyPDF(file, 4));
    EXPECT_FALSE(verifyPDF(composition.folder() / "nothing.pdf", 4));
}

TEST_F(Verification, LooksAtEveryAction) {
    HandmadePDF document;
    const std::string lost = "<< /S /GoTo /D [9999 0 R /Fit] >>";
    const std::size_t endless = document.next();
    document.add("<< /S /URI /URI (a) /Next " + referenceTo(endless) + " >>");
    document.addPage("/AA << /O " + lost + " >>");
    document.addPage("/Annots [<< /Subtype /Widget /Rect [0 0 9 9] /AA << /U " + lost + " >> >>]");
    document.addPage("/Annots [<< /Subtype /Link /Rect [0 0 9 9] /A << /S /URI /URI (a) /Next [" +
                     lost + "] >> >>]");
    document.addPage("/Annots [<< /Subtype /Link /Rect [0 0 9 9] /A " + referenceTo(endless) +
                     " >>]");
    const auto found = verifyPDF(document.write(file), 4);
    ASSERT_TRUE(found);
    EXPECT_THAT(found->problems,
                ElementsAre("page 1 leads to no page of the document",
                            "page 2 leads to no page of the document",
                            "page 3 leads to no page of the document",
                            "page 4 has actions that follow each other without end"));
}

} // namespace
} // namespace quillorn::tests
