#include "benchmarks/window/inside/Benchmarks.h"
#include "benchmarks/window/inside/DrivenWindow.h"

#include <stdexcept>

namespace bench {

void measureFirstPictures(const Surroundings& where, Figures& figures) {
    DrivenWindow driven(where.home);
    constexpr std::size_t pages = 2400;
    const auto begin = Clock::now();
    driven.program().openFiles({where.inputs / "manual-2400.pdf"});
    // The document is open when its pages stand in the pane; the window takes its working size in
    // the same breath.
    DrivenWindow::waitFor("the document is open", [&driven]() {
        return driven.source().layoutOfItems().itemCount() == pages;
    });
    const auto opened = Clock::now();
    DrivenWindow::waitForPictures(driven.source());
    const auto painted = Clock::now();
    std::size_t visible = 0;
    for (const quillorn::BrowserRange& range : driven.source().visibleItems()) {
        visible += range.end - range.first;
    }
    if (visible == 0) {
        throw std::logic_error("no page can be seen");
    }
    figures.add("open", milliseconds(opened - begin));
    figures.add("painted", milliseconds(painted - opened));
    figures.add("visible", static_cast<double>(visible));
}

} // namespace bench
