#include "benchmarks/window/inside/Benchmarks.h"
#include "benchmarks/window/inside/DrivenWindow.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <stdexcept>

namespace bench {

using namespace quillorn;

namespace {

constexpr std::size_t pages = 10'000;
constexpr std::size_t part = 1000;
constexpr int repetitions = 7;

void expectPages(DrivenWindow& driven, std::size_t count) {
    if (driven.program().output().PDFArray().at(0)->pageCount() != count) {
        throw std::logic_error("the group has not the pages that it should have");
    }
}

QPoint middleOf(PaneBrowser& browser, std::size_t item) {
    browser.scrollIndexToVisible(item);
    return browser.viewportRect(browser.layoutOfItems().itemRect(item)).center();
}

/// Drags what is selected behind another item of the same browser with the mouse. Returns the
/// milliseconds from the moment when the button is let go until the new order is painted.
double dragBehind(DrivenWindow& driven, std::size_t item, std::size_t target) {
    PaneBrowser& browser = driven.output();
    double time = 0;
    browser.setDragRunner([&driven, &browser, target, &time](QDrag& drag) {
        middleOf(browser, target);
        const QRect cell = browser.viewportRect(browser.layoutOfItems().itemRect(target));
        const QPoint place(cell.right() + 1, cell.center().y());
        QDragEnterEvent enter(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
        QApplication::sendEvent(browser.viewport(), &enter);
        QDragMoveEvent move(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
        QApplication::sendEvent(browser.viewport(), &move);
        time = driven.timeToPainted(browser, [&browser, place, &drag]() {
            QDropEvent drop(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(browser.viewport(), &drop);
        });
    });
    const QPoint start = middleOf(browser, item);
    const QPoint pulled = start + QPoint(3 * QApplication::startDragDistance(), 0);
    const auto send = [&browser](QEvent::Type type, QPoint place, Qt::MouseButton button,
                                 Qt::MouseButtons held) {
        QMouseEvent event(type, place, browser.viewport()->mapToGlobal(place), button, held, {});
        QApplication::sendEvent(browser.viewport(), &event);
    };
    send(QEvent::MouseButtonPress, start, Qt::LeftButton, Qt::LeftButton);
    send(QEvent::MouseMove, pulled, Qt::NoButton, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, pulled, Qt::LeftButton, Qt::NoButton);
    browser.setDragRunner({});
    if (time == 0) {
        throw std::logic_error("no drag began");
    }
    return time;
}

} // namespace

void measureEditing(const Surroundings& where, Figures& figures) {
    DrivenWindow driven(where.home);
    driven.open({where.inputs / "plain-10000.pdf"});
    driven.source().selectAll();
    driven.menus().addToOutput.trigger();
    expectPages(driven, pages);
    DrivenWindow::waitForPictures(driven.output());

    std::vector<double> inserted;
    std::vector<double> moved;
    std::vector<double> removed;
    for (int i = 0; i < repetitions; ++i) {
        DrivenWindow::select(driven.source(), 2000, 2000 + part);
        DrivenWindow::select(driven.output(), pages / 2, pages / 2 + 1);
        inserted.push_back(driven.timeToPainted(
            driven.output(), [&driven]() { driven.menus().addToOutput.trigger(); }));
        expectPages(driven, pages + part);
        DrivenWindow::waitForPictures(driven.output());

        const std::size_t first = pages / 2 + 1; // of what came in
        const auto page = driven.program().output().PDFArray().at(0)->pageAtIndex(first);
        DrivenWindow::select(driven.output(), first, first + part);
        moved.push_back(dragBehind(driven, first, 99));
        expectPages(driven, pages + part);
        if (driven.program().output().PDFArray().at(0)->indexForPage(*page) != 100) {
            throw std::logic_error("the pages were not moved to where they were dropped");
        }
        DrivenWindow::waitForPictures(driven.output());

        DrivenWindow::select(driven.output(), 100, 100 + part);
        removed.push_back(driven.timeToPainted(
            driven.output(), [&driven]() { driven.menus().deletePdfPage.action.trigger(); }));
        expectPages(driven, pages);
        DrivenWindow::waitForPictures(driven.output());
    }
    figures.addAll("insert", inserted);
    figures.addAll("move", moved);
    figures.addAll("delete", removed);
}

} // namespace bench
