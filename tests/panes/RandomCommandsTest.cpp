#include "tests/composer/OutputPane.h"
#include "tests/import/SourcePane.h"

#include "model/FileNames.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

using Labels = std::vector<std::string>;

/// What the output pane ought to hold: plain lists, worked on in the plainest way.
struct ModelGroup {
    std::string name;
    Labels labels;
};

/// Both panes under commands that nobody thought of in this order.
class RandomCommandsTest : public testing::TestWithParam<unsigned> {
protected:
    RandomCommandsTest() {
        for (int i = 0; i < 6; ++i) {
            const std::string name = std::string(1, static_cast<char>('p' + i)) + ".pdf";
            files.push_back(source.pdf(name, static_cast<std::size_t>(1 + i % 4)));
        }
        files.push_back(source.file("w.png"));
    }

    [[nodiscard]] std::size_t below(std::size_t end) {
        return end == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    }
    [[nodiscard]] bool oneIn(std::size_t count) { return below(count) == 0; }

    /// Some of the indexes from `first` up to `end`, at least one.
    [[nodiscard]] IndexSet someOf(std::size_t first, std::size_t end) {
        IndexSet indexes;
        for (std::size_t i = first; i < end; ++i) {
            if (oneIn(3)) {
                indexes.push_back(i);
            }
        }
        if (indexes.empty() && first < end) {
            indexes.push_back(first + below(end - first));
        }
        return indexes;
    }
    /// A selection in the output pane: mostly within one group.
    [[nodiscard]] IndexSet someItems() {
        const auto& groups = output.pane.groupArray();
        if (groups.empty() || oneIn(8)) {
            return someOf(0, output.pane.images().size());
        }
        const BrowserRange range = groups[below(groups.size())].range;
        return someOf(range.first, range.end);
    }
    [[nodiscard]] std::size_t itemCount(std::size_t group) const {
        return std::max<std::size_t>(model[group].labels.size(), 1);
    }
    [[nodiscard]] std::size_t firstItem(std::size_t group) const {
        std::size_t first = 0;
        for (std::size_t i = 0; i < group; ++i) {
            first += itemCount(i);
        }
        return first;
    }
    [[nodiscard]] std::size_t groupOf(std::size_t item) const {
        std::size_t group = 0;
        while (firstItem(group) + itemCount(group) <= item) {
            ++group;
        }
        return group;
    }
    [[nodiscard]] bool isTaken(const std::string& name) const {
        return std::ranges::find(model, name, &ModelGroup::name) != model.end();
    }
    [[nodiscard]] std::string someName() {
        return std::string(1, static_cast<char>('A' + below(9))) + ".pdf";
    }
    /// The group of a selection that works on pages: all in one group, and none a placeholder.
    [[nodiscard]] bool isWithinPages(const IndexSet& items) const {
        return !items.empty() && groupOf(items.front()) == groupOf(items.back()) &&
               !model[groupOf(items.front())].labels.empty();
    }

    // Commands of the source pane.

    void openFile() {
        const std::string& path = files[below(files.size())];
        const std::string name = lastPathComponent(path);
        const auto& open = source.pane.pdfFilesName();
        if (std::ranges::any_of(open, [&name](const std::string& other) {
                return lastPathComponent(other) == name;
            })) {
            source.alerts.expect("Infomation", name + " already exists!");
        }
        if (oneIn(2)) {
            EXPECT_TRUE(source.drop({path}));
        } else {
            source.open({path});
        }
    }
    void closeFiles() {
        if (source.pane.images().empty()) {
            return;
        }
        source.controls.browser.select(someOf(0, source.pane.images().size()));
        source.pane.closePDFFile();
    }
    void dragOut() {
        if (source.pane.images().empty()) {
            return;
        }
        tests::FakePasteboard pasteboard;
        (void)source.pane.imageBrowserWriteItemsAtIndexes(
            source.controls.browser, someOf(0, source.pane.images().size()), pasteboard);
        output.dragPagesArray.replace(*source.dragPagesArray.items());
    }

    // Commands of the output pane, and what they ought to do.

    void newGroup() {
        const std::string name = someName();
        if (isTaken(name)) {
            output.alerts.expect("Infomation", name + " already exists.");
        } else {
            model.push_back({name, {}});
        }
        output.pane.getGroupName(name);
    }
    void drop() {
        const auto dragged = output.dragPagesArray.items();
        if (!dragged) {
            return;
        }
        if (model.empty()) {
            model.push_back({"Untitled.pdf", {}});
        }
        const std::size_t end = firstItem(model.size() - 1) + itemCount(model.size() - 1);
        const std::size_t at = below(end + 1);
        if (at > 0) {
            const std::size_t group = groupOf(at - 1);
            Labels& labels = model[group].labels;
            const std::size_t place = labels.empty() ? 0 : at - firstItem(group);
            Labels inserted;
            for (const auto& item : *dragged) {
                inserted.push_back(item->page()->label());
            }
            labels.insert(labels.begin() + static_cast<std::ptrdiff_t>(place), inserted.begin(),
                          inserted.end());
        }
        output.dropAt(at);
    }
    void move() {
        const IndexSet items = someItems();
        if (items.empty()) {
            return;
        }
        const std::size_t to = below(output.pane.images().size() + 1);
        const std::vector<ModelGroup> before = model;
        const std::size_t group = groupOf(items.back());
        output.move(items, to);
        // Placeholders before a group shift where its pages land, so the order is only foretold
        // where there are none; that nothing gets lost or comes from nowhere, always.
        takeModelFromDocuments();
        const bool hasPlaceholders =
            std::ranges::any_of(before, [](const ModelGroup& each) { return each.labels.empty(); });
        if (!hasPlaceholders && groupOf(items.front()) == group) {
            EXPECT_EQ(labelsOf(model), labelsOf(moved(before, items, to)));
        }
        for (std::size_t i = 0; i < model.size(); ++i) {
            Labels lost = sorted(before[i].labels);
            const Labels now = sorted(model[i].labels);
            EXPECT_TRUE(std::ranges::includes(now, lost)) << "a page got lost from " << i;
        }
    }
    /// What a move of pages of one group makes of groups that all have pages.
    [[nodiscard]] static std::vector<ModelGroup> moved(std::vector<ModelGroup> groups,
                                                       const IndexSet& items, std::size_t to) {
        std::vector<std::size_t> owners;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            owners.insert(owners.end(), groups[i].labels.size(), i);
        }
        const std::size_t source = owners[items.back()];
        if (items.front() <= to && to <= items.back()) {
            return groups;
        }
        const auto begin =
            static_cast<std::size_t>(std::ranges::find(owners, source) - owners.begin());
        Labels taken;
        for (const std::size_t item : items) {
            taken.push_back(groups[source].labels[item - begin]);
        }
        const std::size_t neighbour = std::min(to > 1 ? to - 1 : to, owners.size() - 1);
        const auto put = [&taken](Labels& labels, std::size_t place) {
            labels.insert(labels.begin() + static_cast<std::ptrdiff_t>(place), taken.begin(),
                          taken.end());
        };
        if (owners[neighbour] == source) {
            Labels& labels = groups[source].labels;
            std::size_t place = to - begin;
            for (auto item = items.rbegin(); item != items.rend(); ++item) {
                labels.erase(labels.begin() + static_cast<std::ptrdiff_t>(*item - begin));
                place -= *item < to ? 1U : 0U;
            }
            put(labels, place);
        } else {
            const std::size_t target = owners[to > 0 ? to - 1 : 0];
            const auto start =
                static_cast<std::size_t>(std::ranges::find(owners, target) - owners.begin());
            put(groups[target].labels, to - start);
        }
        return groups;
    }
    void remove() {
        const IndexSet items = someItems();
        if (isWithinPages(items)) {
            const std::size_t group = groupOf(items.front());
            for (auto item = items.rbegin(); item != items.rend(); ++item) {
                Labels& labels = model[group].labels;
                // The first item's place does not change while pages behind it go.
                labels.erase(labels.begin() +
                             static_cast<std::ptrdiff_t>(*item - firstItem(group)));
            }
        }
        if (oneIn(2)) {
            output.pane.imageBrowserRemoveItemsAtIndexes(output.controls.browser, items);
        } else {
            output.select(items);
            output.pane.deletePdfPages();
        }
    }
    void rotate() {
        const IndexSet items = someItems();
        output.select(items);
        std::vector<int> before;
        for (const std::size_t item : items) {
            const auto page = output.pane.images()[item]->page();
            before.push_back(page ? page->addedRotation() : 0);
        }
        const int degrees = oneIn(2) ? 90 : -90;
        if (degrees > 0) {
            output.pane.rotateClockwise();
        } else {
            output.pane.rotateCounterclockwise();
        }
        if (isWithinPages(items)) {
            for (std::size_t i = 0; i < items.size(); ++i) {
                EXPECT_EQ(output.pane.images()[items[i]]->page()->addedRotation(),
                          before[i] + degrees);
            }
        }
    }
    void rename() {
        const IndexSet items = someItems();
        output.select(items);
        const std::string name = someName();
        output.changeNameText.m_value = baseName(name);
        if (isTaken(name)) {
            output.alerts.expect("Infomation", name + " already exists.");
        } else if (!items.empty()) {
            model[groupOf(items.front())].name = name;
        }
        output.pane.clickChangeSureBtn(output.changeNameWindow);
    }
    void closeGroups() {
        IndexSet items;
        for (const std::size_t item : someItems()) {
            if (!model[groupOf(item)].labels.empty()) {
                items.push_back(item); // an empty group would leave its document behind
            }
        }
        std::vector<std::string> closed;
        for (const std::size_t item : items) {
            closed.push_back(model[groupOf(item)].name);
        }
        std::erase_if(model, [&closed](const ModelGroup& group) {
            return std::ranges::find(closed, group.name) != closed.end();
        });
        output.select(items);
        output.pane.closePDFFile();
    }
    void clearOutput() {
        model.clear();
        output.pane.clearAllGroup();
    }

    static Labels sorted(Labels labels) {
        std::ranges::sort(labels);
        return labels;
    }
    static std::vector<Labels> labelsOf(const std::vector<ModelGroup>& groups) {
        std::vector<Labels> labels;
        for (const ModelGroup& group : groups) {
            labels.push_back(group.labels);
        }
        return labels;
    }
    void takeModelFromDocuments() {
        for (std::size_t i = 0; i < model.size(); ++i) {
            model[i].labels = output.labels(i);
        }
    }

    // What always holds.

    static void checkGroups(const BrowserPane& pane, const tests::FakeImageBrowser& browser) {
        std::size_t next = 0;
        for (const ImageBrowserGroup& group : pane.groupArray()) {
            EXPECT_EQ(group.range.first, next) << "groups follow each other without gaps";
            EXPECT_LE(group.range.first, group.range.end);
            EXPECT_EQ(group.style, ImageBrowserGroupStyle::disclosure);
            next = group.range.end;
        }
        EXPECT_EQ(pane.images().size(), next);
        EXPECT_EQ(static_cast<std::size_t>(pane.rangeStart()), next);
        EXPECT_TRUE(pane.importedImages().empty());
        EXPECT_TRUE(pane.pdfFileName().empty());
        EXPECT_EQ(pane.pdfFileNumber(), 0);
        EXPECT_EQ(browser.itemCount(), next) << "the browser shows what the pane has";
        EXPECT_EQ(browser.groups(), pane.groupArray());
    }
    void checkSource() const {
        const ImageViewFir& pane = source.pane;
        checkGroups(pane, source.controls.browser);
        ASSERT_EQ(pane.groupArray().size(), pane.pdfFilesName().size());
        for (std::size_t i = 0; i < pane.groupArray().size(); ++i) {
            const ImageBrowserGroup& group = pane.groupArray()[i];
            EXPECT_EQ(group.title, lastPathComponent(pane.pdfFilesName()[i]));
            EXPECT_NE(group.range.first, group.range.end);
            for (std::size_t item = group.range.first; item < group.range.end; ++item) {
                EXPECT_EQ(pane.images()[item]->imagePath(), pane.pdfFilesName()[i]);
                const auto page = pane.images()[item]->page();
                ASSERT_NE(page, nullptr);
                ASSERT_NE(page->document(), nullptr) << "a drag must not take pages from here";
                EXPECT_EQ(page->document()->indexForPage(*page), item - group.range.first);
            }
        }
    }
    void checkOutput() const {
        const ImageViewSec& pane = output.pane;
        checkGroups(pane, output.controls.browser);
        ASSERT_EQ(pane.addPDFFileName().size(), model.size());
        ASSERT_EQ(pane.PDFArray().size(), model.size());
        ASSERT_EQ(pane.groupArray().size(), model.size());
        for (std::size_t i = 0; i < model.size(); ++i) {
            EXPECT_EQ(pane.addPDFFileName()[i], model[i].name);
            EXPECT_EQ(pane.groupArray()[i].title, model[i].name);
            EXPECT_EQ(output.labels(i), model[i].labels);
            const BrowserRange range = pane.groupArray()[i].range;
            ASSERT_EQ(range.end - range.first, itemCount(i));
            const PDFDocument& document = *pane.PDFArray()[i];
            for (std::size_t item = range.first; item < range.end; ++item) {
                const PageItem& shown = *pane.images()[item];
                EXPECT_EQ(lastPathComponent(shown.imagePath()), model[i].name);
                const bool isBlank = dynamic_cast<const blankItem*>(&shown) != nullptr;
                EXPECT_EQ(isBlank, model[i].labels.empty());
                if (!isBlank) {
                    EXPECT_EQ(shown.imagePath(), model[i].name);
                    EXPECT_EQ(shown.page(), document.pageAtIndex(item - range.first));
                }
            }
        }
    }

    std::mt19937 random{GetParam()};
    tests::SourcePane source;
    tests::OutputPane output;
    std::vector<std::string> files;
    std::vector<ModelGroup> model;
};

TEST_P(RandomCommandsTest, ListsGroupsAndDocumentsAlwaysAgree) {
    struct Command {
        const char* name;
        std::function<void()> run;
        std::size_t weight;
    };
    const std::vector<Command> commands = {
        {"open file", [this]() { openFile(); }, 6},
        {"close files", [this]() { closeFiles(); }, 2},
        {"clear source", [this]() { source.pane.clearAllGroup(); }, 1},
        {"drag out", [this]() { dragOut(); }, 10},
        {"toggle source", [this]() { source.pane.exAcoAllGroups(); }, 1},
        {"new group", [this]() { newGroup(); }, 5},
        {"drop", [this]() { drop(); }, 16},
        {"move", [this]() { move(); }, 16},
        {"remove", [this]() { remove(); }, 16},
        {"rotate", [this]() { rotate(); }, 4},
        {"rename", [this]() { rename(); }, 4},
        {"close groups", [this]() { closeGroups(); }, 3},
        {"toggle output", [this]() { output.pane.exAcoAllGroups(); }, 1},
        {"zoom", [this]() { oneIn(2) ? output.pane.zoomIn() : output.pane.zoomOut(); }, 1},
    };
    std::vector<std::size_t> draws;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        draws.insert(draws.end(), commands[i].weight, i);
    }
    for (int step = 0; step < 1500; ++step) {
        // The pane must not grow without end, and starting over is a case of its own.
        const bool isFull = output.pane.images().size() > 120;
        const Command& command = commands[draws[below(draws.size())]];
        SCOPED_TRACE("step " + std::to_string(step) + ": " +
                     (isFull ? "clear output" : command.name));
        if (isFull) {
            clearOutput();
        } else {
            command.run();
        }
        checkSource();
        checkOutput();
        if (HasFailure()) {
            break; // one broken list explains all the others
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomCommandsTest, testing::Values(1U, 2U, 3U, 4U));

} // namespace
} // namespace quillorn
