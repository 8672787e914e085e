#include "platform/browser/ImageBrowserView.h"
#include "tests/platform/browser/ScriptedBrowserData.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QElapsedTimer>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QPalette>
#include <QTest>
#include <QUrl>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// Pictures of the browser in its states, for people to look at:
//     quillorn-browser-screenshots FOLDER PDF...

namespace {

using namespace quillorn;

class PaleBlue : public BrowserLayer {
public:
    explicit PaleBlue(QColor color) : m_color(color) {}
    void drawInContext(QPainter& painter) override {
        painter.fillRect(painter.viewport(), m_color);
    }

private:
    QColor m_color;
};

class TakesAll : public ImageBrowserDraggingDestination {
public:
    [[nodiscard]] DragOperation draggingEntered(const DraggingInfo& /*info*/) override {
        return DragOperation::copy;
    }
    [[nodiscard]] DragOperation draggingUpdated(const DraggingInfo& /*info*/) override {
        return DragOperation::copy;
    }
    bool performDragOperation(const DraggingInfo& /*info*/) override { return true; }
};

/// A browser whose drags end where the test says.
class StillBrowser : public ImageBrowserView {
public:
    using ImageBrowserView::ImageBrowserView;
    std::function<void(QDrag&)> whileDragging;

protected:
    void runDrag(QDrag& drag) override {
        drag.pixmap().save(QString::fromStdString(dragPicture.string()));
        whileDragging(drag);
        drag.deleteLater();
    }

public:
    std::filesystem::path dragPicture;
};

class Studio {
public:
    Studio(std::filesystem::path folder, const std::vector<std::string>& files)
        : m_folder(std::move(folder)), m_pictures(std::filesystem::path(QUILLORN_RENDER_WORKER)) {
        for (const std::string& file : files) {
            if (auto source = PDFSource::open(file)) {
                m_sources.push_back(*source);
            } else {
                std::printf("%s: %s\n", file.c_str(), source.error().reason.c_str());
            }
        }
    }

    void run() {
        take("empty", [](ImageBrowserView&, ScriptedBrowserData&) {});
        take("one-file", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            add(data, 0, 12);
            view.reloadData();
        });
        take("many-files", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setSelectionIndexes({1, 2, 5}, false);
        });
        take("collapsed", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setAllGroupsExpanded(false);
            view.expandGroupAtIndex(1);
            QTest::keyClick(&view, Qt::Key_Down, Qt::ControlModifier);
        });
        take("waiting", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            m_isWaiting = true;
        });
        take("drop-mark", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setAllowsReordering(true);
            view.setSelectionIndexes({0, 1, 2, 3, 8}, false);
            QTest::qWait(500);
            hold(view, QPoint(330, 180), true);
        });
        take("drop-files", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            hold(view, QPoint(330, 180), false);
        });
        take("rubber-band", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            QTest::mousePress(view.viewport(), Qt::LeftButton, {}, QPoint(655, 262));
            QTest::mouseMove(view.viewport(), QPoint(200, 60));
        });
        take("small", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setZoomValue(0);
        });
        take("large", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setZoomValue(0.8F);
        });
        take("preview", [this](ImageBrowserView& view, ScriptedBrowserData& data) {
            addAll(data);
            view.reloadData();
            view.setCanControlQuickLookPanel(true);
            view.setSelectionIndexes({0}, false);
            QTest::keyClick(&view, Qt::Key_Space);
        });
    }

private:
    void add(ScriptedBrowserData& data, std::size_t which, std::size_t most) {
        const auto& source = m_sources[which % m_sources.size()];
        data.addGroup(source->path().filename().string(), std::min(source->pageCount(), most),
                      source);
    }
    void addAll(ScriptedBrowserData& data) {
        for (std::size_t i = 0; i < m_sources.size(); ++i) {
            add(data, i, 7);
        }
        data.addGroup("Untitled.pdf", 1);
    }

    void hold(ImageBrowserView& view, QPoint place, bool pages) {
        m_mime = std::make_unique<QMimeData>();
        m_mime->setUrls({QUrl::fromLocalFile("/tmp/some.pdf")});
        view.setDraggingDestinationDelegate(&m_destination);
        const auto holdThere = [this, &view, place] {
            QDragEnterEvent enter(place, Qt::CopyAction, m_mime.get(), Qt::LeftButton, {});
            QApplication::sendEvent(view.viewport(), &enter);
            QDragMoveEvent move(place, Qt::CopyAction, m_mime.get(), Qt::LeftButton, {});
            QApplication::sendEvent(view.viewport(), &move);
        };
        if (!pages) {
            holdThere();
            return;
        }
        auto& still = dynamic_cast<StillBrowser&>(view);
        still.dragPicture = m_folder / "drag-picture.png";
        still.whileDragging = [this, &view, place](QDrag& drag) {
            QDragEnterEvent enter(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(view.viewport(), &enter);
            QDragMoveEvent move(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(view.viewport(), &move);
            save(view, "drop-mark-held");
        };
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, QPoint(90, 100));
        QTest::mouseMove(view.viewport(), QPoint(160, 160));
    }

    template <class Setup>
    void take(const std::string& name, Setup setup) {
        ScriptedBrowserData data;
        StillBrowser view(m_pictures);
        const bool isDark = qApp->palette().color(QPalette::Base).lightness() < 128;
        view.setBackgroundLayer(std::make_shared<PaleBlue>(
            isDark ? QColor(30, 34, 40) : QColor::fromRgbF(0.905882F, 0.929412F, 0.964706F)));
        view.resize(680, 560);
        view.setDataSource(&data);
        view.show();
        view.activateWindow();
        view.setFocus();
        QTest::qWait(10);
        m_isWaiting = false;
        setup(view, data);
        QElapsedTimer timer;
        timer.start();
        do {
            QTest::qWait(m_isWaiting ? 0 : 60);
        } while (!m_isWaiting && !m_pictures.renderer().isIdle() && timer.elapsed() < 20'000);
        save(view, name);
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (window != &view && window->isVisible()) {
                save(*window, name + "-window");
            }
        }
    }
    void save(QWidget& widget, const std::string& name) const {
        const auto path = m_folder / (name + ".png");
        widget.grab().save(QString::fromStdString(path.string()));
    }

    std::filesystem::path m_folder;
    PagePictures m_pictures;
    std::vector<std::shared_ptr<const PDFSource>> m_sources;
    TakesAll m_destination;
    std::unique_ptr<QMimeData> m_mime;
    bool m_isWaiting = false;
};

void useDarkPalette() {
    QPalette palette(QColor(45, 48, 54), QColor(40, 43, 48));
    palette.setColor(QPalette::Base, QColor(30, 32, 36));
    palette.setColor(QPalette::Text, QColor(225, 228, 232));
    palette.setColor(QPalette::WindowText, QColor(225, 228, 232));
    palette.setColor(QPalette::Highlight, QColor(61, 133, 224));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    QApplication::setPalette(palette);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle("fusion");
    std::vector<std::string> words(argv + 1, argv + argc);
    if (!words.empty() && words.front() == "--dark") {
        useDarkPalette();
        words.erase(words.begin());
    }
    if (words.size() < 2) {
        std::puts("usage: quillorn-browser-screenshots [--dark] FOLDER PDF...");
        return 2;
    }
    const std::filesystem::path folder = words.front();
    words.erase(words.begin());
    std::filesystem::create_directories(folder);
    Studio(folder, words).run();
    return 0;
}
