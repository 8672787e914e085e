#include "benchmarks/window/ProcessTree.h"
#include "benchmarks/window/inside/Benchmarks.h"
#include "benchmarks/window/inside/DrivenWindow.h"

#include <QScrollBar>
#include <random>
#include <unistd.h>

namespace bench {

using namespace quillorn;

namespace {

constexpr std::size_t pages = 100'000;
constexpr int repetitions = 20;

/// The layout alone, and with everything else that the widget does for new contents.
void measureLayout(DrivenWindow& driven, Figures& figures) {
    PaneBrowser& browser = driven.source();
    std::vector<double> places;
    std::vector<double> reloads;
    std::vector<double> zooms;
    for (int i = 0; i < repetitions; ++i) {
        auto begin = Clock::now();
        BrowserLayout layout;
        layout.setMetrics({});
        layout.setWidth(browser.viewport()->width());
        layout.setGroups({{pages, true}});
        if (layout.itemRect(pages - 1).isEmpty()) {
            throw std::logic_error("the last page has no place");
        }
        places.push_back(milliseconds(Clock::now() - begin));
        begin = Clock::now();
        browser.reloadData();
        reloads.push_back(milliseconds(Clock::now() - begin));
        const float zoom = browser.zoomValue();
        begin = Clock::now();
        browser.setZoomValue(zoom + 0.1F);
        zooms.push_back(milliseconds(Clock::now() - begin));
        browser.setZoomValue(zoom);
    }
    figures.addAll("layout", places);
    figures.addAll("reload", reloads);
    figures.addAll("zoom", zooms);
}

/// One notch of the wheel after the other, the pictures being there; then jumps to where they are
/// not.
void measureScrolling(DrivenWindow& driven, Figures& figures) {
    PaneBrowser& browser = driven.source();
    QScrollBar& bar = *browser.verticalScrollBar();
    constexpr int notch = 60; // pixels
    constexpr int steps = 40;
    std::vector<double> warm;
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < steps; ++i) {
            bar.setValue(i * notch);
            DrivenWindow::waitForPictures(browser);
        }
    }
    for (int pass = 0; pass < 5; ++pass) {
        for (int i = 0; i < steps; ++i) {
            warm.push_back(driven.timeToPainted(
                browser, [&bar, i]() { bar.setValue(bar.value() == i * notch ? 0 : i * notch); }));
        }
    }
    figures.addAll("scroll", warm);
    std::vector<double> cold;
    std::mt19937 random(7);
    for (int i = 0; i < steps; ++i) {
        const auto place = static_cast<int>(random() % static_cast<unsigned>(bar.maximum()));
        cold.push_back(driven.timeToPainted(browser, [&bar, place]() { bar.setValue(place); }));
    }
    figures.addAll("jump", cold);
}

void measureSelection(DrivenWindow& driven, Figures& figures) {
    PaneBrowser& browser = driven.source();
    browser.setFocus();
    std::vector<double> times;
    std::vector<double> painted;
    for (int i = 0; i < repetitions; ++i) {
        browser.setSelectionIndexes({}, false);
        double returned = 0;
        painted.push_back(driven.timeToPainted(browser, [&driven, &returned]() {
            const auto begin = Clock::now();
            driven.menus().selectAll.trigger();
            returned = milliseconds(Clock::now() - begin);
        }));
        times.push_back(returned);
        if (browser.selectionIndexes().size() != pages) {
            throw std::logic_error("not all is selected");
        }
    }
    browser.setSelectionIndexes({}, false);
    figures.addAll("select", times);
    figures.addAll("select_painted", painted);
}

/// Goes through pages until there are as many pictures as are kept, and then some more.
void measureMemory(DrivenWindow& driven, Figures& figures) {
    PaneBrowser& browser = driven.source();
    QScrollBar& bar = *browser.verticalScrollBar();
    constexpr std::size_t seen = 3000; // pages; more than are kept at this size
    std::size_t count = 0;
    for (int place = 0; count < seen && place < bar.maximum(); place += bar.pageStep()) {
        bar.setValue(place);
        DrivenWindow::waitForPictures(browser);
        for (const BrowserRange& range : browser.visibleItems()) {
            count += range.end - range.first;
        }
    }
    const ProcessTree tree = ProcessTree::of(::getpid(), true);
    constexpr double kibAMib = 1024;
    figures.add("memory_mib", static_cast<double>(tree.proportional) / kibAMib);
    figures.add("resident_mib", static_cast<double>(tree.resident) / kibAMib);
    figures.add("processes", static_cast<double>(tree.processes.size()));
}

} // namespace

void measureManyPages(const Surroundings& where, Figures& figures) {
    DrivenWindow driven(where.home);
    const auto begin = Clock::now();
    driven.open({where.inputs / "plain-100000.pdf"});
    figures.add("open", milliseconds(Clock::now() - begin));
    if (driven.source().layoutOfItems().itemCount() != pages) {
        throw std::logic_error("not all pages came in");
    }
    DrivenWindow::waitForPictures(driven.source());
    measureLayout(driven, figures);
    measureScrolling(driven, figures);
    measureSelection(driven, figures);
    measureMemory(driven, figures);
}

} // namespace bench
