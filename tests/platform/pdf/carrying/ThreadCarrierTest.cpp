#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A thread that runs through pages 1, 2, 3, 2 and back.
TestPDF threaded(const std::string& name) {
    TestPDF document(name, 4);
    const std::size_t thread = document.nextObject();
    const std::vector<std::size_t> pages{1, 2, 3, 2};
    document.addObject("<< /Type /Thread /I << /Title (" + name + ") >> /F " +
                       referenceTo(thread + 1) + " >>");
    std::vector<std::string> onPages(4);
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const auto bead = [&](std::size_t index) { return referenceTo(thread + 1 + index % 4); };
        document.addObject("<< /Type /Bead /N " + bead(i + 1) + " /V " + bead(i + 3) + " /P " +
                           referenceTo(document.pageObject(pages[i] - 1)) + " /R [0 0 " +
                           std::to_string(i + 1) + " 9]" +
                           (i == 0 ? " /T " + referenceTo(thread) : "") + " >>");
        onPages[pages[i] - 1] += bead(i) + " ";
    }
    for (std::size_t i = 0; i < 3; ++i) {
        document.addPageEntry(i, "/B [" + onPages[i] + "]");
    }
    return document.addCatalogEntry("/Threads [" + referenceTo(thread) + "]");
}

/// The beads of each thread by page and width, followed once around.
std::vector<std::string> threads(const WrittenPDF& file) {
    std::vector<std::string> all;
    const auto list = file.entry(file.catalog(), "/Threads");
    for (const auto& reference : list.is_array() ? list : nlohmann::json::array()) {
        const auto thread = file.resolved(reference);
        std::string line = file.text(file.entry(thread["/I"], "/Title")) + ":";
        auto bead = thread["/F"];
        EXPECT_EQ(file.resolved(bead)["/T"], reference);
        do {
            const auto here = file.resolved(bead);
            line += " p" + std::to_string(file.pageNumber(here["/P"])) + "/" + here["/R"][2].dump();
            EXPECT_EQ(file.resolved(here["/N"])["/V"], bead);
            bead = here["/N"];
        } while (bead != thread["/F"] && line.size() < 200);
        all.push_back(line);
    }
    return all;
}

TEST(Threads, RunThroughThePagesThatStay) {
    Composition composition;
    const auto source = composition.source("t.pdf", threaded("t"));
    EXPECT_THAT(threads(composition.add(source).write()), ElementsAre("t: p1/1 p2/2 p3/3 p2/4"));
    EXPECT_THAT(threads(composition.add(source, {4, 2, 1}).write()),
                ElementsAre("t: p3/1 p2/2 p2/4"));
    EXPECT_THAT(threads(composition.add(source, {3}).write()), ElementsAre("t: p1/3"));
}

TEST(Threads, WithoutAPageAreGone) {
    Composition composition;
    const auto source = composition.source("t.pdf", threaded("t"));
    EXPECT_FALSE(composition.add(source, {4}).write().catalog().contains("/Threads"));
}

TEST(Threads, OfSeveralFilesStandSideBySide) {
    Composition composition;
    const auto a = composition.source("a.pdf", threaded("a"));
    const auto b = composition.source("b.pdf", threaded("b"));
    EXPECT_THAT(threads(composition.add(a, {2}).add(b).write()),
                testing::UnorderedElementsAre("a: p1/2 p1/4", "b: p2/1 p3/2 p4/3 p3/4"));
}

TEST(Threads, RunThroughTheFirstCopyOfARepeatedPage) {
    Composition composition;
    const auto source = composition.source("t.pdf", threaded("t"));
    const WrittenPDF file = composition.add(source, {1, 1, 3}).write();
    EXPECT_THAT(threads(file), ElementsAre("t: p1/1 p3/3"));
    EXPECT_TRUE(file.page(1).contains("/B"));
    EXPECT_FALSE(file.page(2).contains("/B"));
}

TEST(Threads, ThatNoDocumentListsBringNoPagesAlong) {
    TestPDF document("stray", 2);
    const std::size_t bead = document.nextObject();
    document.addObject("<< /N " + referenceTo(bead + 1) + " /V " + referenceTo(bead + 1) + " /P " +
                       referenceTo(document.pageObject(0)) + " /R [0 0 1 1] >>");
    document.addObject("<< /N " + referenceTo(bead) + " /V " + referenceTo(bead) + " /P " +
                       referenceTo(document.pageObject(1)) + " /Note (left behind) >>");
    document.addPageEntry(0, "/B [" + referenceTo(bead) + "]");
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("s.pdf", document), {1}).write();
    EXPECT_FALSE(file.page(1).contains("/B"));
    EXPECT_THAT(threads(file), IsEmpty());
}

TEST(Threads, ThatShareBeadsStaySound) {
    TestPDF document("shared", 1);
    const std::size_t first = document.nextObject();
    document.addObject("<< /F " + referenceTo(first + 2) + " /I << /Title (one) >> >>");
    document.addObject("<< /F " + referenceTo(first + 2) + " /I << /Title (two) >> >>");
    document.addObject("<< /N " + referenceTo(first + 3) + " /V " + referenceTo(first + 3) +
                       " /R [0 0 1 1] /P " + referenceTo(document.pageObject(0)) + " >>");
    document.addObject("<< /N " + referenceTo(first + 3) + " /V " + referenceTo(first + 2) +
                       " /R [0 0 2 1] /P " + referenceTo(document.pageObject(0)) + " >>");
    document.addCatalogEntry("/Threads [" + referenceTo(first) + " " + referenceTo(first + 1) +
                             "]");
    Composition composition;
    EXPECT_THAT(threads(composition.add(composition.source("s.pdf", document)).write()),
                ElementsAre("one: p1/1 p1/2"));
}

} // namespace
} // namespace quillorn::tests
