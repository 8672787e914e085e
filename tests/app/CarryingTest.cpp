#include "tests/app/ProgramFixture.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

namespace quillorn::tests {

namespace {

/// What pages carry, as far as the command line says and decides something about it.
class CarryingTest : public ProgramFixture {
protected:
    /// Three pages; the outline has an entry for the first and the last one.
    void outlined(const std::string& name) const {
        TestPDF(name, 3)
            .addOutlineEntry("First of " + name, 0)
            .addOutlineEntry("Last of " + name, 2)
            .writeTo(work / name);
    }

    std::string outlineOf(const std::string& file) const {
        return Program("mutool", {"show", (work / file).string(), "outline"}).run().output;
    }
};

} // namespace

TEST_F(CarryingTest, WhatStayedBehindIsToldInALine) {
    outlined("a.pdf");
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "a.pdf", "--pages", "1-2"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("a.pdf: 1 outline entry dropped (Last of a.pdf)"),
              std::string::npos)
        << result.output;
}

TEST_F(CarryingTest, WhatStayedBehindIsInTheReport) {
    outlined("a.pdf");
    const auto report = reportIn(run({"compose", "--json", "--output-folder", "out", "--group",
                                      "A.pdf", "a.pdf", "--pages", "1-2"}));
    const auto& notes = report["outputs"][0]["notes"];
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0]["kind"], "outline-entry-dropped");
    EXPECT_EQ(notes[0]["file"], (work / "a.pdf").string());
    EXPECT_EQ(notes[0]["count"], 1);
    EXPECT_EQ(notes[0]["example"], "Last of a.pdf");
}

TEST_F(CarryingTest, SeveralOutlinesStandUnderTheirFiles) {
    outlined("a.pdf");
    outlined("b.pdf");
    EXPECT_EQ(
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "a.pdf", "b.pdf"}).status, 0);
    EXPECT_NE(outlineOf("out/A.pdf").find("\"b.pdf\""), std::string::npos);
}

TEST_F(CarryingTest, AFlatOutlineHasNoEntriesForFiles) {
    outlined("a.pdf");
    outlined("b.pdf");
    EXPECT_EQ(run({"compose", "--flat-outline", "--output-folder", "out", "--group", "A.pdf",
                   "a.pdf", "b.pdf"})
                  .status,
              0);
    const std::string outline = outlineOf("out/A.pdf");
    EXPECT_EQ(outline.find("\"b.pdf\""), std::string::npos) << outline;
    EXPECT_NE(outline.find("\"Last of b.pdf\""), std::string::npos) << outline;
}

TEST_F(CarryingTest, AVerifiedOutputIsReportedAsUsual) {
    outlined("a.pdf");
    const ProgramResult result =
        run({"compose", "--verify", "--output-folder", "out", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
}

TEST_F(CarryingTest, AnOutputThatIsTitledAfterItsGroupSaysSo) {
    pdf("a.pdf", 1);
    pdf("b.pdf", 1);
    EXPECT_EQ(
        run({"compose", "--output-folder", "out", "--group", "Both.pdf", "a.pdf", "b.pdf"}).status,
        0);
    const std::string information =
        Program("pdfinfo", {(work / "out/Both.pdf").string()}).run().output;
    EXPECT_NE(information.find("Title:           Both\n"), std::string::npos) << information;
}

TEST_F(CarryingTest, PagesAreCountedOnRequest) {
    pdf("a.pdf", 3);
    pdf("b.pdf", 2);
    EXPECT_EQ(run({"info", "--count", "a.pdf"}).output, "3\n");
    EXPECT_EQ(run({"info", "--count", "a.pdf", "b.pdf"}).output, "3\ta.pdf\n2\tb.pdf\n");
}

TEST_F(CarryingTest, ThePagesOfALockedFileAreNotCounted) {
    lockedPdf("locked.pdf");
    const ProgramResult result = run({"info", "--count", "locked.pdf"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find("locked.pdf is encrypted."), std::string::npos) << result.errors;
}

TEST_F(CarryingTest, CountingAndJsonDoNotGoTogether) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"info", "--count", "--json", "a.pdf"}).status, 2);
}

} // namespace quillorn::tests
