#include "tests/platform/pdf/carrying/HostileDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class HostileStructures : public HostileDocument {};

TEST_F(HostileStructures, OutlinesThatLoop) {
    const std::size_t page = addPages(3);
    const std::size_t root = document.next();
    const auto ref = [root](std::size_t offset) { return referenceTo(root + offset); };
    const std::string target = " /Dest [" + referenceTo(page) + " /Fit] ";
    document.add("<< /First " + ref(1) + " /Last " + ref(2) + " >>");
    // The next of the second is the first, and the child of the first is the first.
    document.add("<< /Title (a) /Next " + ref(2) + " /First " + ref(1) + target + ">>");
    document.add("<< /Title (b) /Next " + ref(1) + " /First " + ref(3) + target + ">>");
    document.add("<< /Title (c) /Next " + ref(3) + " /First " + ref(0) + target + ">>");
    const auto hostile = source("/Outlines " + referenceTo(root));
    writeInEveryWay(hostile);
    EXPECT_EQ(composition.add(hostile).write().outline(), "a > p1 /Fit\n"
                                                          "b > p1 /Fit closed\n"
                                                          "  c > p1 /Fit\n");
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
}

TEST_F(HostileStructures, OutlinesOfAHundredThousandEntries) {
    constexpr std::size_t entries = many(100'000);
    const std::size_t page = addPages(2);
    const std::size_t root = document.next();
    document.add("<< /First " + referenceTo(root + 1) + " >>");
    for (std::size_t i = 1; i <= entries; ++i) {
        document.add("<< /Title (" + std::to_string(i) + ") /Dest [" + referenceTo(page + i % 2) +
                     " /Fit]" + (i < entries ? " /Next " + referenceTo(root + i + 1) : "") + " >>");
    }
    const auto hostile = source("/Outlines " + referenceTo(root));
    const WrittenPDF whole = composition.add(hostile).write();
    EXPECT_EQ(whole.entry(whole.entry(whole.catalog(), "/Outlines"), "/Count").get<std::size_t>(),
              entries);
    const WrittenPDF part = composition.add(hostile, {2}).write();
    EXPECT_EQ(part.entry(part.entry(part.catalog(), "/Outlines"), "/Count").get<std::size_t>(),
              entries / 2);
}

TEST_F(HostileStructures, OutlinesDeeperThanAnyBook) {
    constexpr std::size_t depth = 50'000;
    const std::size_t page = addPages(2);
    const std::size_t root = document.next();
    document.add("<< /First " + referenceTo(root + 1) + " >>");
    for (std::size_t i = 1; i <= depth; ++i) {
        document.add("<< /Title (" + std::to_string(i) + ") /Dest [" + referenceTo(page) +
                     " /Fit] /First " + referenceTo(root + i + 1) + " >>");
    }
    writeInEveryWay(source("/Outlines " + referenceTo(root)));
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
}

TEST_F(HostileStructures, NameTreesThatLoop) {
    const std::size_t page = addPages(2);
    const std::size_t node = document.next();
    document.add("<< /Kids [" + referenceTo(node) + " " + referenceTo(node + 1) + " " +
                 referenceTo(node + 1) + "] >>");
    document.add("<< /Kids [" + referenceTo(node) + "] /Names [(here) [" + referenceTo(page + 1) +
                 " /Fit] (loop) (loop)] >>");
    document.set(page, "<< /Type /Page /Parent 1 0 R /Annots [<< /Subtype /Link /Rect [0 0 9 9] "
                       "/Dest (here) >> << /Subtype /Link /Rect [0 0 9 9] /Dest (loop) >>] >>");
    const auto hostile = source("/Names << /Dests " + referenceTo(node) + " /EmbeddedFiles " +
                                referenceTo(node) + " /JavaScript " + referenceTo(node) + " >>");
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_THAT(file.links(1), ElementsAre("p2 /Fit"));
    EXPECT_THAT(file.names("/Dests"), ElementsAre("here", "loop"));
}

TEST_F(HostileStructures, LabelTreesThatLoop) {
    addPages(2);
    const std::size_t node = document.next();
    document.add("<< /Kids [" + referenceTo(node) + " " + referenceTo(node + 1) + "] >>");
    document.add("<< /Kids [" + referenceTo(node) +
                 "] /Nums [0 << /S /r >> -5 << /S /D >> "
                 "99999999999 << /S /A >> 1 << /S /D /St -7 /P 12 >>] >>");
    writeInEveryWay(source("/PageLabels " + referenceTo(node)));
}

TEST_F(HostileStructures, ThousandsOfLinksOnThousandsOfPages) {
    // All pages share one list of 32,000 links, every second of which leads to a page that stays
    // behind in a part.
    constexpr std::size_t links = many(32'000);
    constexpr std::size_t pages = 2'000;
    const std::size_t list = document.add();
    const std::size_t page = addPages(pages, "/Annots " + referenceTo(list));
    std::string all = "[";
    for (std::size_t i = 0; i < links; ++i) {
        all += referenceTo(document.add("<< /Subtype /Link /Rect [0 0 9 9] /Dest [" +
                                        referenceTo(page + i % 2) + " /Fit] >>")) +
               " ";
    }
    document.set(list, all + "]");
    const auto hostile = source();
    EXPECT_THAT(WrittenPDF(composition.add(hostile).writeUnchecked()).links(1), SizeIs(links));
    std::vector<std::size_t> odd;
    for (std::size_t i = 1; i <= pages; i += 2) {
        odd.push_back(i);
    }
    const WrittenPDF part(composition.add(hostile, odd).writeUnchecked());
    EXPECT_THAT(part.links(1000), SizeIs(links / 2));
    EXPECT_EQ(composition.notes(), "link-removed " + std::to_string(links / 2));
    EXPECT_LT(composition.report().bytes, 10'000'000U);
}

TEST_F(HostileStructures, ThousandsOfLinksOnAPageRepeatedAThousandTimes) {
    constexpr std::size_t links = many(32'000);
    const std::size_t list = document.add();
    const std::size_t page = addPages(2, "/Annots " + referenceTo(list));
    std::string all = "[";
    for (std::size_t i = 0; i < links; ++i) {
        all += "<< /Subtype /Link /Rect [0 0 9 9] /Dest [" + referenceTo(page + 1) + " /Fit] >> ";
    }
    document.set(list, all + "]");
    composition.add(source(), std::vector<std::size_t>(1000, 1));
    static_cast<void>(composition.writeUnchecked());
    EXPECT_THAT(composition.notes(), HasSubstr("link-removed " + std::to_string(links)));
}

TEST_F(HostileStructures, RepeatedLinksBeyondNumber) {
    constexpr std::size_t links = many(32'000);
    const std::size_t list = document.add();
    const std::size_t page = addPages(2, "/Annots " + referenceTo(list));
    std::string all = "[";
    for (std::size_t i = 0; i < links; ++i) {
        all += referenceTo(document.add("<< /Subtype /Link /Rect [0 0 9 9] /Dest [" +
                                        referenceTo(page) + " /Fit] >>")) +
               " ";
    }
    document.set(list, all + "]");
    composition.add(source(), std::vector<std::size_t>(200, 1));
    static_cast<void>(composition.writeUnchecked());
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
}

TEST_F(HostileStructures, FieldsThatAreTheirOwnAncestors) {
    const std::size_t field = document.next();
    const auto ref = [field](std::size_t offset) { return referenceTo(field + offset); };
    const std::string widget = "<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx ";
    document.add(widget + "/T (a) /Parent " + ref(1) + " /Kids [" + ref(1) + "] >>");
    document.add(widget + "/T (b) /Parent " + ref(0) + " /Kids [" + ref(0) + "] >>");
    document.add(widget + "/T (c) /Parent " + ref(2) + " /Kids [" + ref(2) + " " + ref(2) + "] >>");
    document.addPage("/Annots [" + ref(0) + " " + ref(2) + "]");
    document.addPage("/Annots [" + ref(1) + " " + ref(2) + "]");
    const auto hostile = source("/AcroForm << /Fields [" + ref(0) + " " + ref(1) + " " + ref(2) +
                                " " + ref(2) + "] /CO [" + ref(2) + "] >>");
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_EQ(file.fields().size(), 2U);
    EXPECT_EQ(file.fields().at("c"), "/Tx on 1 2");
}

TEST_F(HostileStructures, FieldsOfThousandsOfLevels) {
    // Every level is a widget too, so that each may come along by itself, in any order.
    constexpr std::size_t depth = 20'000;
    for (const bool upwards : {true, false}) {
        document = HandmadePDF();
        const std::size_t field = document.next();
        std::string up = "[";
        std::string down = "]";
        for (std::size_t i = 0; i < depth; ++i) {
            document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T (f)" +
                         (i > 0 ? " /Parent " + referenceTo(field + i - 1) : "") +
                         (i + 1 < depth ? " /Kids [" + referenceTo(field + i + 1) + "]" : "") +
                         " >>");
            up += referenceTo(field + i) + " ";
            down.insert(0, referenceTo(field + i) + " ");
        }
        down.insert(0, "[");
        document.addPage("/Annots " + (upwards ? up + "]" : down));
        document.addPage("");
        const auto hostile = source("/AcroForm << /Fields [" + referenceTo(field) + "] >>");
        writeInEveryWay(hostile);
        std::size_t longest = 0;
        for (const auto& [name, widgets] : composition.add(hostile).write().fields()) {
            longest = std::max(longest, name.size());
        }
        EXPECT_LT(longest, 300U); // "f.f.f.f": what came out has few levels
    }
}

TEST_F(HostileStructures, OneWidgetBelowThousandsOfFields) {
    constexpr std::size_t depth = 20'000;
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < depth; ++i) {
        document.add("<< /FT /Tx /T (f)" + (i > 0 ? " /Parent " + referenceTo(field + i - 1) : "") +
                     " /Kids [" + referenceTo(field + i + 1) + "] >>");
    }
    document.add("<< /Subtype /Widget /Rect [0 0 9 9] /Parent " + referenceTo(field + depth - 1) +
                 " >>");
    document.addPage("/Annots [" + referenceTo(field + depth) + "]");
    document.addPage("");
    writeInEveryWay(source("/AcroForm << /Fields [" + referenceTo(field) + "] >>"));
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
}

TEST_F(HostileStructures, HundredsOfThousandsOfBeads) {
    constexpr std::size_t beads = many(300'000);
    const std::size_t page = addPages(2);
    const std::size_t thread = document.next();
    document.add("<< /F " + referenceTo(thread + 1) + " >>");
    for (std::size_t i = 1; i <= beads; ++i) {
        document.add("<</P " + referenceTo(page) + "/N " +
                     referenceTo(thread + (i < beads ? i + 1 : 1)) + ">>");
    }
    const auto hostile =
        source("/Threads [" + referenceTo(thread) + " " + referenceTo(thread) + "]");
    composition.add(hostile, {2});
    EXPECT_FALSE(composition.write().catalog().contains("/Threads"));
    composition.add(hostile, {1});
    static_cast<void>(composition.writeUnchecked());
}

TEST_F(HostileStructures, ActionsThatFollowThemselves) {
    constexpr std::size_t links = many(32'000);
    const std::size_t action = document.next();
    const auto ref = [action](std::size_t offset) { return referenceTo(action + offset); };
    document.add("<< /S /URI /URI (a) /Next " + ref(1) + " >>");
    document.add("<< /S /URI /URI (b) /Next [" + ref(0) + " " + ref(1) + " " + ref(2) + "] >>");
    document.add("<< /S /GoTo /D (nowhere) /Next [" + ref(0) + "] >>");
    std::string all;
    for (std::size_t i = 0; i < links; ++i) {
        all += "<< /Subtype /Link /Rect [0 0 9 9] /A " + ref(i % 3) + " >> ";
    }
    document.addPage("/Annots [" + all + "] /AA << /O " + ref(2) + " >>");
    document.addPage("");
    const auto hostile = source();
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_THAT(file.links(1), SizeIs(links));
    EXPECT_EQ(file.links(1).at(0), "uri a, then uri b");
    EXPECT_EQ(file.links(1).at(2), "uri a, then uri b");
}

TEST_F(HostileStructures, ActionsThatFollowEachOtherForEver) {
    constexpr std::size_t actions = many(100'000);
    const std::size_t action = document.next();
    for (std::size_t i = 0; i < actions; ++i) {
        document.add("<< /S /URI /URI (" + std::to_string(i) + ") /Next [" +
                     referenceTo(action + i + 1) + " " + referenceTo(action + i + 1) + "] >>");
    }
    document.add("null");
    std::string all;
    for (std::size_t i = 0; i < many(10'000); ++i) {
        all += "<< /Subtype /Link /Rect [0 0 9 9] /A " + referenceTo(action + 7 * i) + " >> ";
    }
    document.addPage("/Annots [" + all + "]");
    document.addPage("");
    writeInEveryWay(source());
}

TEST_F(HostileStructures, DestinationsToNowhere) {
    const std::size_t page = addPages(3);
    const std::size_t loop = document.next();
    document.add("<< /D " + referenceTo(loop) + " >>");
    const std::string loopingArray = referenceTo(document.next());
    document.add("[" + loopingArray + " /Fit]");
    const std::string good = "[" + referenceTo(page + 1) + " /Fit]";
    std::string all = "<< /Subtype /Link /Rect [0 0 9 9] /Dest " + good + " >> ";
    for (const std::string& target :
         {std::string("[]"), std::string("[null /Fit]"), std::string("[1 0 R /Fit]"),
          std::string("[99999 0 R /XYZ 1 2 3]"), std::string("[-1 /Fit]"),
          std::string("[99999999999999 /Fit]"), std::string("(not there)"),
          std::string("/NotThere"), std::string("()"), std::string("<< >>"), std::string("7"),
          "[" + referenceTo(loop) + " /Fit]", referenceTo(loop), loopingArray}) {
        all += "<< /Subtype /Link /Rect [0 0 9 9] /Dest " + target + " >> ";
        all += "<< /Subtype /Link /Rect [0 0 9 9] /A << /S /GoTo /D " + target + " >> >> ";
    }
    document.set(page, "<< /Type /Page /Parent 1 0 R /Annots [" + all + "] >>");
    const std::size_t root = document.next();
    document.add("<< /First " + referenceTo(root + 1) + " >>");
    document.add("<< /Title (good) /Dest " + good + " /Next " + referenceTo(root + 2) + " >>");
    document.add("<< /Title (lost) /Dest [99999 0 R /Fit] /Next " + referenceTo(root + 3) + " >>");
    document.add("<< /Title (loops) /A << /S /GoTo /D " + referenceTo(loop) + " >> >>");
    const auto hostile = source("/Outlines " + referenceTo(root) + " /Dests << /NotThere " +
                                referenceTo(loop) + " >> /OpenAction " + loopingArray);
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_THAT(file.links(1), ElementsAre("p2 /Fit"));
    EXPECT_EQ(file.outline(), "good > p2 /Fit\n");
    EXPECT_THAT(composition.notes(), HasSubstr("link-removed 28"));
}

TEST_F(HostileStructures, ThreadsThatLoop) {
    const std::size_t page = addPages(2);
    const std::size_t first = document.next();
    const auto ref = [first](std::size_t offset) { return referenceTo(first + offset); };
    const std::string onPage = "/P " + referenceTo(page) + " ";
    document.add("<< /F " + ref(3) + " >>");
    document.add("<< /F " + ref(4) + " >>"); // begins within the other thread
    document.add("<< /F " + ref(2) + " >>"); // a thread that is its own bead
    document.add("<< " + onPage + "/N " + ref(4) + " >>");
    document.add("<< " + onPage + "/N " + ref(5) + " >>");
    document.add("<< " + onPage + "/N " + ref(4) + " >>"); // never back at the first
    document.set(page, "<< /Type /Page /Parent 1 0 R /B [" + ref(3) + " " + ref(5) + " " + ref(2) +
                           " null 3] >>");
    const auto hostile = source("/Threads [" + ref(0) + " " + ref(1) + " " + ref(2) + "]");
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_EQ(file.entry(file.catalog(), "/Threads").size(), 1U);
    EXPECT_EQ(file.entry(file.page(1), "/B").size(), 2U);
}

TEST_F(HostileStructures, StructureTreesThatLoop) {
    const std::size_t page = addPages(2, "/StructParents 0");
    const std::size_t root = document.next();
    const auto ref = [root](std::size_t offset) { return referenceTo(root + offset); };
    document.add("<< /Type /StructTreeRoot /K [" + ref(1) + " " + ref(0) + "] /ParentTree " +
                 ref(2) + " /IDTree " + ref(2) + " >>");
    document.add("<< /Type /StructElem /S /P /P " + ref(1) + " /K [" + ref(1) + " " + ref(0) + " " +
                 ref(3) + "] /Pg " + referenceTo(page) + " >>");
    document.add("<< /Kids [" + ref(2) + " " + ref(2) + "] /Nums [0 " + ref(1) + "] >>");
    constexpr std::size_t depth = 100'000;
    for (std::size_t i = 0; i < depth; ++i) {
        document.add("<< /Type /StructElem /S /P /P " + ref(2 + i) + " /K " +
                     (i + 1 < depth ? ref(4 + i) : std::string("7")) + " >>");
    }
    const auto hostile =
        source("/StructTreeRoot " + referenceTo(root) + " /MarkInfo << /Marked true >>");
    writeInEveryWay(hostile);
    EXPECT_EQ(composition.notes(), "structure-dropped 1");
    composition.add(hostile);
    EXPECT_TRUE(composition.write().catalog().contains("/StructTreeRoot"));
    EXPECT_EQ(composition.notes(), "");
}

TEST_F(HostileStructures, ParametersOfFiltersWithoutEnd) {
    std::string deep = "null";
    for (std::size_t i = 0; i < 20'000; ++i) {
        deep = referenceTo(document.add("<< /A " + deep + " >>"));
    }
    std::string wide;
    for (std::size_t i = 0; i < 100'000; ++i) {
        wide += "/K" + std::to_string(i) + " " + std::to_string(i) + " ";
    }
    const std::size_t first =
        document.addStream("/Filter /FlateDecode /DecodeParms " + deep, deflatedZeros(10));
    const std::size_t second = document.addStream(
        "/Filter /FlateDecode /DecodeParms << " + wide + " >>", deflatedZeros(10));
    document.addPage("/Contents [" + referenceTo(first) + "]");
    document.addPage("/Contents [" + referenceTo(second) + "]");
    const auto hostile = source();
    composition.add(hostile, {1});
    composition.writeChecked("part.pdf");
    composition.add(composition.source("plain.pdf", TestPDF("plain", 9))).add(hostile, {2, 1});
    composition.writeChecked("mixed.pdf");
}

TEST_F(HostileStructures, ReferencesDeeperThanAnyStack) {
    // Through a page's own entries: every object refers to the next.
    constexpr std::size_t depth = 200'000;
    const std::size_t chain = document.next();
    for (std::size_t i = 0; i < depth; ++i) {
        document.add("<< /Next " + referenceTo(chain + i + 1) + " >>");
    }
    document.add("(end)");
    document.addPage("/PieceInfo " + referenceTo(chain));
    document.addPage("");
    writeInEveryWay(source());
}

TEST_F(HostileStructures, FormsThatDrawThemselves) {
    const std::size_t form = document.next();
    document.addStream("/Subtype /Form /BBox [0 0 9 9] /Resources << /XObject << /F " +
                           referenceTo(form) + " /G " + referenceTo(form + 1) + " >> >>",
                       "/F Do /G Do");
    document.addStream("/Subtype /Form /BBox [0 0 9 9]", "/F Do /G Do");
    const std::size_t content = document.addStream("", "/F Do /G Do");
    addPages(3, "/Contents " + referenceTo(content));
    writeInEveryWay(source("", "/Resources << /XObject << /F " + referenceTo(form) + " /G " +
                                   referenceTo(form + 1) + " >> >>"));
}

TEST_F(HostileStructures, AnnotationsThatAreNone) {
    const std::size_t page = document.next();
    document.addPage("/Annots [null 12 (text) /Name [[[]]] 1 0 R " + referenceTo(page) +
                     " << >> << /Subtype 7 /A (text) /AA [] /P 3 >> 99 0 R]");
    document.addPage("/Annots << /Subtype /Link >> /AA 12 /B (beads) /Tabs 4");
    document.addPage("/Annots " + referenceTo(page));
    writeInEveryWay(source("/AcroForm [1 2 3] /Outlines (none) /Names [] /Threads << >> "
                           "/PageLabels 7 /OCProperties << /OCGs [null 1 << >>] /D 3 >> "
                           "/StructTreeRoot 1 0 R /OutputIntents [7 null] /OpenAction [null] "
                           "/Lang 7 /Metadata 1 0 R /Dests 1 0 R"));
}

TEST_F(HostileStructures, NamesOfFieldsThatGrowWithEveryLevel) {
    constexpr std::size_t levels = 90;
    constexpr std::size_t fields = many(20'000);
    const std::string part(4'000, 'n');
    const std::size_t level = document.next();
    for (std::size_t i = 0; i < levels; ++i) {
        document.add("<< /T (" + part + ")" +
                     (i > 0 ? " /Parent " + referenceTo(level + i - 1) : std::string()) + " >>");
    }
    std::string annotations;
    const auto addField = [&](const std::string& name, const std::string& parent) {
        const std::size_t field = document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T (" +
                                               name + ") " + parent + " >>");
        annotations += referenceTo(field) + " ";
    };
    for (std::size_t i = 0; i < fields; ++i) {
        addField("f" + std::to_string(i), "/Parent " + referenceTo(level + levels - 1));
    }
    addField("plain", "");
    addField("below", "/Parent " + referenceTo(level));
    document.addPage("/Annots [" + annotations + "] /AA << /O << /S /ResetForm /Fields [(plain) (" +
                     part + ".below) (absent)] >> >>");
    document.addPage("");
    const auto hostile = source("/AcroForm << /Fields [" + referenceTo(level) + "] >>");
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    const auto action = file.entry(file.entry(file.page(1), "/AA"), "/O");
    EXPECT_EQ(file.entry(action, "/Fields").size(), 2U);
}

TEST_F(HostileStructures, ALongNameThatThousandsOfFieldsOfTwoFilesShare) {
    constexpr std::size_t fields = many(4'000);
    const std::size_t shared = document.add("(" + std::string(std::size_t{1} << 20U, 'x') + ")");
    const std::size_t field = document.next();
    std::string list;
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T " + referenceTo(shared) +
                     " >>");
        list += referenceTo(field + i) + " ";
    }
    document.addPage("/Annots [" + list + "]");
    const std::string form = "/AcroForm << /Fields [" + list + "] >>";
    static_cast<void>(composition.add(source(form)).add(source(form)).writeUnchecked());
    EXPECT_LT(composition.report().bytes, std::size_t{10} << 20U);
}

} // namespace
} // namespace quillorn::tests
