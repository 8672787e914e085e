#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Three pages, each with a layer of its own: NAME 1, NAME 2, NAME 3. `configuration` is /D, in
/// which "$1" stands for a reference to the first layer.
TestPDF layered(const std::string& name, std::string configuration) {
    TestPDF document(name, 3);
    std::string groups;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::string group = referenceTo(document.addObject(
            "<< /Type /OCG /Name (" + name + " " + std::to_string(i + 1) + ") >>"));
        groups += group + " ";
        document.addPageEntry(i, "/LayerOfPage " + group);
        const std::string mark = "$" + std::to_string(i + 1);
        for (std::size_t at = configuration.find(mark); at != std::string::npos;
             at = configuration.find(mark)) {
            configuration.replace(at, mark.size(), group);
        }
    }
    return document.addCatalogEntry("/OCProperties << /OCGs [" + groups + "] /D << " +
                                    configuration + " >> >>");
}

/// The names of groups in a list, lists in brackets.
std::vector<std::string> groups(const WrittenPDF& file, const nlohmann::json& list) {
    std::vector<std::string> names;
    for (const auto& item : list.is_array() ? list : nlohmann::json::array()) {
        const auto value = file.resolved(item);
        if (value.is_array()) {
            names.emplace_back("[");
            for (const std::string& name : groups(file, value)) {
                names.push_back(name);
            }
            names.emplace_back("]");
        } else {
            names.push_back(file.text(value.is_object() ? value["/Name"] : value));
        }
    }
    return names;
}

nlohmann::json configurationOf(const WrittenPDF& file) {
    return file.entry(file.entry(file.catalog(), "/OCProperties"), "/D");
}

TEST(Layers, ThatTheirSourceDoesNotListStayShownBesideOthers) {
    TestPDF unlisted("u", 1);
    unlisted.addPageEntry(
        0, "/LayerOfPage " + referenceTo(unlisted.addObject("<< /Type /OCG /Name (unlisted) >>")));
    for (const bool isMorePages : {true, false}) {
        Composition composition;
        const auto a = composition.source("u.pdf", unlisted);
        const auto b = composition.source("l.pdf", layered("l", "/OFF [$1]"));
        composition.add(a).add(b, isMorePages ? std::vector<std::size_t>{1, 2, 3}
                                              : std::vector<std::size_t>{1});
        const WrittenPDF file = composition.write();
        const auto listed = file.entry(file.entry(file.catalog(), "/OCProperties"), "/OCGs");
        EXPECT_THAT(groups(file, listed), testing::Contains("unlisted"));
        EXPECT_THAT(groups(file, configurationOf(file)["/OFF"]), ElementsAre("l 1"));
    }
}

TEST(Layers, OfASingleSourceStayAsTheyAre) {
    Composition composition;
    const auto source =
        composition.source("l.pdf", layered("l", "/BaseState /OFF /ON [$2] /Order [$1 $2 $3]"));
    for (const std::vector<std::size_t>& pages : std::vector<std::vector<std::size_t>>{{}, {2}}) {
        const WrittenPDF file = composition.add(source, pages).write();
        const auto configuration = configurationOf(file);
        EXPECT_EQ(configuration["/BaseState"], "/OFF");
        EXPECT_THAT(groups(file, configuration["/ON"]), ElementsAre("l 2"));
        EXPECT_THAT(groups(file, configuration["/Order"]), ElementsAre("l 1", "l 2", "l 3"));
    }
}

TEST(Layers, ThatWereHiddenStayHiddenInAMixture) {
    Composition composition;
    const auto on = composition.source("on.pdf", layered("on", "/OFF [$2]"));
    const auto off = composition.source("off.pdf", layered("off", "/BaseState /OFF /ON [$3]"));
    const WrittenPDF file = composition.add(on).add(off).write();
    const auto properties = file.entry(file.catalog(), "/OCProperties");
    EXPECT_THAT(groups(file, properties["/OCGs"]),
                ElementsAre("on 1", "on 2", "on 3", "off 1", "off 2", "off 3"));
    EXPECT_THAT(groups(file, configurationOf(file)["/OFF"]), ElementsAre("on 2", "off 1", "off 2"));
}

TEST(Layers, StandUnderTheNamesOfTheirFiles) {
    Composition composition;
    const auto a = composition.source("a.pdf", layered("a", "/Order [$3 [(inner) $1] $2]"));
    const auto b = composition.source("b.pdf", layered("b", "/Order [[(titled) $1 $2]]"));
    const WrittenPDF file = composition.add(b, {2}).add(a).write();
    EXPECT_THAT(groups(file, configurationOf(file)["/Order"]),
                ElementsAre("[", "b.pdf", "[", "titled", "b 2", "]", "]", "[", "a.pdf", "a 3", "[",
                            "inner", "a 1", "]", "a 2", "]"));
}

TEST(Layers, ThatNoPageUsesStayBehind) {
    Composition composition;
    const auto part = composition.source(
        "part.pdf", layered("part", "/Locked [$1 $3] /RBGroups [[$1 $2] [$1 $3]] /AS [<< /Event "
                                    "/View /Category [/View] /OCGs [$1 $3] >> << /Event /Print "
                                    "/Category [/Print] /OCGs [$2] >>] /OFF [$2 $3]"));
    const auto other = composition.source("other.pdf", TestPDF("other", 1));
    const WrittenPDF file = composition.add(part, {3}).add(other, {1, 1, 1}).write();
    const auto configuration = configurationOf(file);
    EXPECT_THAT(groups(file, file.entry(file.catalog(), "/OCProperties")["/OCGs"]),
                ElementsAre("part 3"));
    EXPECT_THAT(groups(file, configuration["/Locked"]), ElementsAre("part 3"));
    EXPECT_THAT(groups(file, configuration["/RBGroups"]), ElementsAre("[", "part 3", "]"));
    EXPECT_THAT(groups(file, configuration["/OFF"]), ElementsAre("part 3"));
    ASSERT_EQ(configuration["/AS"].size(), 1U);
    EXPECT_THAT(groups(file, configuration["/AS"][0]["/OCGs"]), ElementsAre("part 3"));
    EXPECT_EQ(configuration["/AS"][0]["/Event"], "/View");
}

TEST(Layers, AreNotMadeUp) {
    Composition composition;
    const auto layers = composition.source("l.pdf", layered("l", ""));
    const auto plain = composition.source("p.pdf", TestPDF("plain", 3));
    EXPECT_FALSE(composition.add(plain).add(plain).write().catalog().contains("/OCProperties"));
    const WrittenPDF file = composition.add(plain).add(layers, {1}).write();
    EXPECT_THAT(groups(file, configurationOf(file).value("/OFF", nlohmann::json())), IsEmpty());
}

TEST(Layers, WithALoopInTheirOrderAreWritten) {
    TestPDF document("loop", 2);
    const std::size_t group = document.addObject("<< /Type /OCG /Name (loop) >>");
    const std::size_t order = document.nextObject();
    document.addObject("[" + referenceTo(group) + " " + referenceTo(order) + " " +
                       referenceTo(order) + "]");
    document.addPageEntry(0, "/Layer " + referenceTo(group));
    document.addCatalogEntry("/OCProperties << /OCGs [" + referenceTo(group) + "] /D << /Order " +
                             referenceTo(order) + " >> >>");
    Composition composition;
    const auto source = composition.source("loop.pdf", document);
    const auto other = composition.source("other.pdf", TestPDF("other", 2));
    EXPECT_TRUE(
        composition.add(source, {1}).add(other).write().catalog().contains("/OCProperties"));
}

} // namespace
} // namespace quillorn::tests
