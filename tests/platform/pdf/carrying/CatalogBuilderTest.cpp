#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

/// Two tagged pages with a tagged link on the first.
TestPDF tagged() {
    TestPDF document("tagged", 2);
    const std::size_t tree = document.nextObject();
    const std::size_t element = tree + 1;
    document.addObject("<< /Type /StructTreeRoot /K " + referenceTo(element) +
                       " /ParentTree << /Nums [0 [" + referenceTo(element) + "] 1 [" +
                       referenceTo(element) + "] 2 " + referenceTo(element) + "] >> >>");
    document.addObject("<< /Type /StructElem /S /Document /P " + referenceTo(tree) +
                       " /K [<< "
                       "/Type /MCR /Pg " +
                       referenceTo(document.pageObject(0)) + " /MCID 0 >> << /Type /MCR /Pg " +
                       referenceTo(document.pageObject(1)) + " /MCID 0 >>] >>");
    document.addPageEntry(0, "/StructParents 0 /Tabs /S /Annots [<< /Type /Annot /Subtype /Link "
                             "/Rect [0 0 9 9] /StructParent 2 /A << /S /URI /URI (x) >> >>]");
    document.addPageEntry(1, "/StructParents 1");
    return document.addCatalogEntry("/StructTreeRoot " + referenceTo(tree) +
                                    " /MarkInfo << /Marked true >> /Lang (en-GB)");
}

TEST(Structure, StaysWithAllPagesInAnyOrder) {
    Composition composition;
    const auto source = composition.source("t.pdf", tagged());
    const WrittenPDF file = composition.add(source, {2}).addBlank().add(source, {1}, 90).write();
    const auto tree = file.entry(file.catalog(), "/StructTreeRoot");
    ASSERT_TRUE(tree.is_object());
    const auto items = file.entry(file.entry(tree, "/K"), "/K");
    EXPECT_EQ(file.pageNumber(items[0]["/Pg"]), 3U);
    EXPECT_EQ(file.pageNumber(items[1]["/Pg"]), 1U);
    EXPECT_EQ(file.entry(file.catalog(), "/MarkInfo")["/Marked"], true);
    EXPECT_EQ(file.page(3)["/StructParents"], 0);
    EXPECT_EQ(file.page(3)["/Tabs"], "/S");
    EXPECT_EQ(file.annotations(3).at(0)["/StructParent"], 2);
    EXPECT_EQ(composition.notes(), "");
}

TEST(Structure, GoesWhenAPageIsMissingOrRepeatedOrNotAlone) {
    Composition composition;
    const auto source = composition.source("t.pdf", tagged());
    const auto other = composition.source("o.pdf", TestPDF("other", 1));
    const std::vector<std::vector<PDFPageReference>> mixtures{
        {{source, 0, 0, {}}},
        {{source, 0, 0, {}}, {source, 1, 0, {}}, {source, 0, 0, {}}},
        {{source, 0, 0, {}}, {source, 1, 0, {}}, {other, 0, 0, {}}}};
    for (const auto& pages : mixtures) {
        for (const PDFPageReference& page : pages) {
            composition.add(page.source, {page.index + 1});
        }
        const WrittenPDF file = composition.write();
        EXPECT_FALSE(file.catalog().contains("/StructTreeRoot"));
        EXPECT_FALSE(file.catalog().contains("/MarkInfo"));
        for (std::size_t page = 1; page <= file.pageCount(); ++page) {
            EXPECT_FALSE(file.page(page).contains("/StructParents"));
            EXPECT_FALSE(file.page(page).contains("/Tabs"));
            for (const auto& annotation : file.annotations(page)) {
                EXPECT_FALSE(annotation.contains("/StructParent"));
            }
        }
        EXPECT_EQ(composition.notes(), "structure-dropped 1");
    }
}

TEST(Language, StaysWhenAllSourcesSpeakIt) {
    Composition composition;
    const auto english = composition.source("en.pdf", tagged());
    const auto too =
        composition.source("en2.pdf", TestPDF("e", 1).addCatalogEntry("/Lang (en-GB)"));
    const auto german = composition.source("de.pdf", TestPDF("d", 1).addCatalogEntry("/Lang (de)"));
    EXPECT_EQ(composition.add(english, {1}).write().catalog()["/Lang"], "u:en-GB");
    EXPECT_EQ(composition.add(english).add(too).write().catalog()["/Lang"], "u:en-GB");
    EXPECT_FALSE(composition.add(english).add(german).write().catalog().contains("/Lang"));
}

TestPDF printed(const std::string& name, const std::string& profile) {
    TestPDF document(name, 1);
    const std::size_t stream =
        document.addObject("<< /N 4 /Length " + std::to_string(profile.size()) + " >>\nstream\n" +
                           profile + "\nendstream");
    return document.addCatalogEntry(
        "/OutputIntents [<< /Type /OutputIntent /S /GTS_PDFX /OutputConditionIdentifier (Custom) "
        "/DestOutputProfile " +
        referenceTo(stream) + " >>]");
}

TEST(OutputIntents, StayWhenAllSourcesNameTheSame) {
    Composition composition;
    const auto a = composition.source("a.pdf", printed("a", "profile"));
    const auto b = composition.source("b.pdf", printed("b", "profile"));
    EXPECT_EQ(composition.add(a).write().catalog()["/OutputIntents"].size(), 1U);
    EXPECT_EQ(composition.add(a).add(b).write().catalog()["/OutputIntents"].size(), 1U);
    EXPECT_EQ(composition.notes(), "");
}

TEST(OutputIntents, GoWhenSourcesDiffer) {
    Composition composition;
    const auto a = composition.source("a.pdf", printed("a", "profile"));
    const auto other = composition.source("other.pdf", printed("other", "another profile"));
    const auto none = composition.source("none.pdf", TestPDF("none", 1));
    EXPECT_FALSE(composition.add(a).add(other).write().catalog().contains("/OutputIntents"));
    EXPECT_EQ(composition.notes(), "output-intent-dropped 1 + 1");
    EXPECT_FALSE(composition.add(a).add(none).write().catalog().contains("/OutputIntents"));
    EXPECT_EQ(composition.notes(), "output-intent-dropped 1");
    EXPECT_FALSE(composition.add(none).add(a).write().catalog().contains("/OutputIntents"));
    EXPECT_EQ(composition.notes(), "output-intent-dropped 1");
}

TEST(Viewing, WishesOfASingleSourceStay) {
    Composition composition;
    TestPDF document("wishes", 2);
    document.addCatalogEntry("/PageMode /UseOutlines /PageLayout /TwoColumnLeft "
                             "/ViewerPreferences << /DisplayDocTitle true >> /URI << /Base (x) >> "
                             "/OpenAction [" +
                             referenceTo(document.pageObject(1)) +
                             " /XYZ 1 2 3] /AA << /WC << /S "
                             "/JavaScript /JS (x) >> >>");
    const auto source = composition.source("w.pdf", document);
    const auto other = composition.source("o.pdf", TestPDF("other", 1));

    const WrittenPDF part = composition.add(source, {2}).write();
    EXPECT_EQ(part.catalog()["/PageMode"], "/UseOutlines");
    EXPECT_EQ(part.catalog()["/PageLayout"], "/TwoColumnLeft");
    EXPECT_EQ(part.entry(part.catalog(), "/ViewerPreferences")["/DisplayDocTitle"], true);
    EXPECT_EQ(part.destination(part.catalog()["/OpenAction"]), "p1 /XYZ 1 2 3");
    EXPECT_FALSE(part.catalog().contains("/AA"));

    EXPECT_FALSE(composition.add(source, {1}).write().catalog().contains("/OpenAction"));
    EXPECT_TRUE(composition.add(source).write().catalog().contains("/AA"));

    const WrittenPDF mixed = composition.add(source).add(other).write();
    EXPECT_FALSE(mixed.catalog().contains("/ViewerPreferences"));
    EXPECT_FALSE(mixed.catalog().contains("/OpenAction"));
    EXPECT_FALSE(mixed.catalog().contains("/AA"));
}

TEST(Pages, KeepWhatStandsInThem) {
    Composition composition;
    TestPDF document("entries", 2);
    document.addPageEntry(0, "/UserUnit 2 /Dur 5 /Trans << /S /Fly /D 2 >> /Tabs /R /TrimBox [1 1 "
                             "9 9] /Metadata 5 0 R /Group << /S /Transparency /CS /DeviceRGB >>");
    const auto source = composition.source("e.pdf", document);
    const auto other = composition.source("o.pdf", TestPDF("other", 2));
    const auto page = composition.add(other).add(source, {1}).write().page(3);
    EXPECT_EQ(page["/UserUnit"], 2);
    EXPECT_EQ(page["/Dur"], 5);
    EXPECT_EQ(page["/Trans"]["/S"], "/Fly");
    EXPECT_EQ(page["/Tabs"], "/R");
    EXPECT_EQ(page["/TrimBox"], nlohmann::json::parse("[1, 1, 9, 9]"));
    EXPECT_TRUE(page.contains("/Metadata"));
    EXPECT_EQ(page["/Group"]["/S"], "/Transparency");
}

TEST(Version, IsTheHighestOfTheSources) {
    Composition composition;
    const auto old = composition.source("old.pdf", TestPDF("old", 1).setVersion("1.3"));
    const auto later = composition.source(
        "later.pdf", TestPDF("later", 1).setVersion("1.4").addCatalogEntry("/Version /1.7"));
    const auto latest = composition.source("latest.pdf", TestPDF("latest", 1).setVersion("2.0"));
    const auto versionOf = [&composition]() {
        return readFile(composition.folder() / "out.pdf").substr(0, 8);
    };
    composition.add(old).writeChecked();
    EXPECT_EQ(versionOf(), "%PDF-1.5");
    composition.add(old).add(later).writeChecked();
    EXPECT_EQ(versionOf(), "%PDF-1.7");
    composition.add(old).add(later).add(latest).writeChecked();
    EXPECT_EQ(versionOf(), "%PDF-2.0");
}

} // namespace
} // namespace quillorn::tests
