#include "benchmarks/window/inside/Benchmarks.h"
#include "benchmarks/window/inside/DrivenWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBasicTimer>
#include <QDialog>
#include <QScrollBar>
#include <QTimer>
#include <QTimerEvent>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

namespace bench {

using namespace quillorn;

namespace {

/// What a thread has had of the processors until now, in milliseconds.
struct ProcessorTime {
    double computed = 0;
    double waited = 0; ///< ready to run, while others ran

    static ProcessorTime ofThisThread() {
        std::ifstream stream("/proc/thread-self/schedstat"); // both in nanoseconds
        ProcessorTime time;
        if (!(stream >> time.computed >> time.waited)) {
            throw std::runtime_error("cannot read what the scheduler gave to the window");
        }
        time.computed /= 1e6;
        time.waited /= 1e6;
        return time;
    }
};

/// Wants to be called every millisecond, and notes how late that happens: whoever keeps the event
/// loop from its work, be it with a long step or with many short ones, keeps it from this too.
class Watchdog : public QObject {
public:
    struct Pause {
        double length = 0; ///< milliseconds between two calls
        ProcessorTime within;
    };

    Watchdog() { m_timer.start(1, Qt::PreciseTimer, this); }

    /// Notes from now on, under a new name.
    void begin() {
        note();
        m_longest = Pause();
    }
    [[nodiscard]] const Pause& longest() {
        note();
        return m_longest;
    }

protected:
    void timerEvent(QTimerEvent* /*event*/) override { note(); }

private:
    void note() {
        const auto now = Clock::now();
        const ProcessorTime used = ProcessorTime::ofThisThread();
        const double length = milliseconds(now - m_last);
        if (length > m_longest.length) {
            m_longest = {length, {used.computed - m_used.computed, used.waited - m_used.waited}};
        }
        m_last = now;
        m_used = used;
    }

    QBasicTimer m_timer;
    Clock::time_point m_last = Clock::now();
    ProcessorTime m_used = ProcessorTime::ofThisThread();
    Pause m_longest;
};

void write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream stream(path);
    stream << text;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

/// Of each kind that must be converted: a long one.
std::vector<std::string> documentsToConvert(const std::filesystem::path& folder) {
    constexpr int paragraphs = 600;
    const std::string sentence = "The quick brown fox jumps over the lazy dog, and nobody minds. ";
    std::string paragraph;
    for (int i = 0; i < 8; ++i) {
        paragraph += sentence;
    }
    std::string page = "<!DOCTYPE html><title>Long</title>";
    std::string rich = "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Times New Roman;}}\\fs24 ";
    std::string plain;
    for (int i = 0; i < paragraphs; ++i) {
        page += "<p>" + paragraph;
        rich += paragraph + "\\par ";
        plain += paragraph + "\n\n";
    }
    write(folder / "long.html", page);
    write(folder / "long.rtf", rich + "}");
    write(folder / "long.txt", plain);
    return {folder / "long.html", folder / "long.rtf", folder / "long.txt"};
}

void append(std::string& bytes, std::uint32_t number, int count) {
    for (int i = 0; i < count; ++i) { // the least significant byte first
        bytes.push_back(static_cast<char>(number >> (8 * i) & 0xffU));
    }
}

/// Bitmaps, which have to be packed to become pages.
std::vector<std::string> imagesToConvert(const std::filesystem::path& folder) {
    constexpr int count = 12;
    constexpr std::uint32_t side = 2000; // pixels
    constexpr std::uint32_t headers = 14 + 40;
    std::vector<std::string> paths;
    std::mt19937 random(11);
    for (int i = 0; i < count; ++i) {
        std::string picture = "BM";
        append(picture, headers + side * side * 3, 4);
        append(picture, 0, 4);
        append(picture, headers, 4);
        append(picture, 40, 4);
        append(picture, side, 4);
        append(picture, side, 4);
        append(picture, 1, 2);    // plane
        append(picture, 24, 2);   // bits a pixel
        picture.append(24, '\0'); // no compression, no palette
        for (std::uint32_t pixel = 0; pixel < side * side; ++pixel) {
            const std::uint32_t level = pixel / side / 8 + random() % 8;
            append(picture, level | level / 2 << 8U | (pixel % 251) << 16U, 3);
        }
        const std::filesystem::path path = folder / ("picture " + std::to_string(i) + ".bmp");
        write(path, picture);
        paths.push_back(path);
    }
    return paths;
}

void scrollThrough(DrivenWindow& driven) {
    QScrollBar& bar = *driven.source().verticalScrollBar();
    constexpr int notch = 60; // pixels
    for (int place = 0; place < bar.maximum(); place += notch) {
        bar.setValue(place);
        QCoreApplication::processEvents();
    }
    DrivenWindow::waitForPictures(driven.source());
}

/// Presses the button of the save sheet once it is shown.
void confirmSaving(QTimer& timer) {
    QObject::connect(&timer, &QTimer::timeout, &timer, [&timer]() {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const confirm = widget->findChild<QAbstractButton*>(QStringLiteral("confirm"));
            if (confirm != nullptr && widget->isVisible() && qobject_cast<QDialog*>(widget)) {
                timer.stop();
                confirm->click();
                return;
            }
        }
    });
    constexpr int lookEvery = 5; // milliseconds
    timer.start(lookEvery);
}

} // namespace

void measureFreezes(const Surroundings& where, Figures& figures) {
    const std::filesystem::path files = where.home / "files";
    std::filesystem::create_directory(files);
    const auto documents = documentsToConvert(files);
    const auto images = imagesToConvert(files);
    DrivenWindow driven(where.home);
    Watchdog watchdog;
    const auto phase = [&watchdog, &figures](const std::string& name, const auto& work) {
        QCoreApplication::processEvents();
        watchdog.begin();
        work();
        const Watchdog::Pause pause = watchdog.longest();
        figures.add(name, pause.length);
        figures.add(name + ", computing", pause.within.computed);
        figures.add(name + ", waiting for a processor", pause.within.waited);
        std::fprintf(stderr, "%s: %.1f ms, of them %.1f computing, %.1f waiting for a processor\n",
                     name.c_str(), pause.length, pause.within.computed, pause.within.waited);
    };
    phase("importing", [&]() {
        driven.open({where.inputs / "manual-2400.pdf", where.inputs / "plain-10000.pdf",
                     where.inputs / "scans-1.pdf", where.inputs / "scans-2.pdf",
                     where.inputs / "scans-3.pdf", where.inputs / "manual-a.pdf"});
    });
    phase("rendering", [&]() {
        driven.menus().source.expandAll.action.trigger();
        // The scans: of a manual's ten thousand pages most would be passed by.
        driven.source().collapseGroupAtIndex(1);
        scrollThrough(driven);
    });
    phase("converting images", [&]() { driven.open(images); });
    phase("converting documents", [&]() { driven.open(documents); });
    phase("collecting", [&]() {
        driven.source().selectAll();
        driven.menus().addToOutput.trigger();
        DrivenWindow::waitForPictures(driven.output());
    });
    phase("saving", [&]() {
        QTimer timer;
        confirmSaving(timer);
        driven.menus().save.action.trigger();
        DrivenWindow::waitFor("everything is saved",
                              [&driven]() { return driven.program().output().isSave(); });
    });
    std::size_t saved = 0;
    for (const auto& document : driven.program().output().PDFArray()) {
        saved += document->pageCount();
    }
    figures.add("pages", static_cast<double>(saved));
}

} // namespace bench
