#include "platform/ui/widgets/WidgetLongWork.h"

#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetSheets.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QEventLoop>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>
#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <stop_token>
#include <thread>

namespace quillorn {

namespace {

constexpr int showAfter = 400;   // milliseconds
constexpr int windowWidth = 320; // logical pixels

} // namespace

/// The small window beside the work. It comes once the work has taken a moment, and goes with this.
/// Between two pieces of a series it does not come: an alert may be waiting there, which it would
/// cover and keep from being answered.
class WorkWindow {
public:
    WorkWindow(QWidget& mainWindow, const std::string& text) : m_mainWindow(mainWindow) {
        setText(text);
        m_appear.setSingleShot(true);
        m_appear.setInterval(showAfter);
        QObject::connect(&m_appear, &QTimer::timeout, &m_appear, [this]() {
            m_isDue = true;
            showIfDue();
        });
        m_appear.start();
    }
    WorkWindow(const WorkWindow&) = delete;
    WorkWindow& operator=(const WorkWindow&) = delete;
    ~WorkWindow() = default;

    /// An empty text: the work shows itself, and there is no window.
    void setText(const std::string& text) {
        m_text = shownText(text);
        if (m_label != nullptr) {
            showText();
        }
    }
    [[nodiscard]] std::stop_source& stop() { return m_stop; }
    void setRunning(bool isRunning) {
        m_isRunning = isRunning;
        showIfDue();
    }

private:
    void showIfDue() {
        if (m_isDue && m_isRunning && m_window == nullptr && !m_text.isEmpty()) {
            show();
        }
    }
    void show() {
        m_window = std::make_unique<QDialog>(&sheetParent(m_mainWindow));
        m_window->setObjectName(QStringLiteral("longWork"));
        m_window->setWindowModality(Qt::ApplicationModal);
        m_window->setWindowTitle(QApplication::applicationDisplayName());
        InputGuard::letThrough(*m_window); // also in the pieces that begin after it has come
        m_label = new QLabel(m_window.get());
        m_label->setTextFormat(Qt::PlainText);
        m_bar = new QProgressBar(m_window.get());
        m_bar->setRange(0, 0);
        m_bar->setTextVisible(false);
        m_bar->setMinimumWidth(windowWidth);
        auto* const layout = new QVBoxLayout(m_window.get());
        layout->addWidget(m_label);
        layout->addWidget(m_bar);
        layout->addWidget(cancelButtonBeside(*m_bar, *m_window));
        QObject::connect(m_window.get(), &QDialog::rejected, m_window.get(),
                         [this]() { m_stop.request_stop(); });
        showText();
        m_window->show();
    }
    void showText() {
        m_label->setText(m_label->fontMetrics().elidedText(m_text + QStringLiteral("…"),
                                                           Qt::ElideMiddle, windowWidth));
        m_bar->setAccessibleName(m_text);
    }

    QWidget& m_mainWindow;
    QString m_text;
    std::stop_source m_stop;
    QTimer m_appear;
    bool m_isDue = false;     ///< it has taken a moment
    bool m_isRunning = false; ///< a piece of work goes on
    std::unique_ptr<QDialog> m_window;
    QLabel* m_label = nullptr;     ///< in the window
    QProgressBar* m_bar = nullptr; ///< in the window
};

/// What the thread of the window waits for piece by piece.
class WidgetLongWork::WindowSeries final : public LongWork {
public:
    WindowSeries(WidgetLongWork& all, const std::string& text)
        : m_all(all), m_window(all.m_mainWindow, text) {}

    bool run(const std::string& text, const Work& work) override {
        if (m_window.stop().stop_requested()) {
            return false;
        }
        m_window.setText(text);
        return m_all.runAndPaint(m_window, work);
    }
    std::unique_ptr<LongWork> series(const std::string& text) override {
        return m_all.series(text);
    }

private:
    WidgetLongWork& m_all;
    WorkWindow m_window;
};

/// What another thread does, told in the activity panel. The panel is touched, and the activity's
/// number known, on the thread of the window only, where the calls arrive in their order.
class WidgetLongWork::PanelSeries final : public LongWork {
public:
    PanelSeries(WidgetLongWork& all, const std::string& text) : m_all(all) {
        m_all.m_mainThread.post(
            [panel = m_all.m_activities, text, stop = m_stop, activity = m_activity]() {
                if (panel) {
                    *activity = panel->begin(text, stop);
                }
            });
    }
    PanelSeries(const PanelSeries&) = delete;
    PanelSeries& operator=(const PanelSeries&) = delete;
    ~PanelSeries() override {
        m_all.m_mainThread.post([panel = m_all.m_activities, activity = m_activity]() {
            if (panel) {
                panel->end(*activity);
            }
        });
    }

    bool run(const std::string& text, const Work& work) override {
        if (m_stop.stop_requested()) {
            return false;
        }
        m_all.m_mainThread.post([panel = m_all.m_activities, activity = m_activity, text]() {
            if (panel) {
                panel->setText(*activity, text);
            }
        });
        work(m_stop.get_token());
        return !m_stop.stop_requested();
    }
    std::unique_ptr<LongWork> series(const std::string& text) override {
        return m_all.series(text);
    }

private:
    WidgetLongWork& m_all;
    std::stop_source m_stop;
    std::shared_ptr<std::uint64_t> m_activity = std::make_shared<std::uint64_t>(0);
};

WidgetLongWork::WidgetLongWork(QWidget& mainWindow, MainThread& mainThread,
                               ActivityPanel& activities)
    : m_mainWindow(mainWindow), m_mainThread(mainThread), m_activities(&activities) {}

std::unique_ptr<LongWork> WidgetLongWork::series(const std::string& text) {
    if (m_mainThread.isCurrent()) {
        return std::make_unique<WindowSeries>(*this, text);
    }
    return std::make_unique<PanelSeries>(*this, text);
}

bool WidgetLongWork::run(const std::string& text, const Work& work) {
    if (m_mainThread.isCurrent()) {
        WorkWindow window(m_mainWindow, text);
        return runAndPaint(window, work);
    }
    if (text.empty()) {
        work(std::stop_token());
        return true;
    }
    return series(text)->run(text, work);
}

bool WidgetLongWork::runAndPaint(WorkWindow& window, const Work& work) {
    const InputGuard guard;
    std::exception_ptr failure;
    std::atomic<bool> hasEnded = false;
    QEventLoop loop;
    ++m_waiting;
    std::jthread thread([&work, stop = window.stop().get_token(), &failure, &hasEnded, &loop]() {
        try {
            work(stop);
        } catch (...) {
            failure = std::current_exception();
        }
        hasEnded = true;
        QCoreApplication::postEvent(&loop, std::make_unique<QEvent>(QEvent::Quit).release());
    });
    // An orderly end of the program ends every loop; the work is not left behind even then.
    window.setRunning(true);
    loop.exec();
    window.setRunning(false);
    if (!hasEnded) {
        window.stop().request_stop();
    }
    const bool wasCancelled = window.stop().stop_requested();
    thread.join();
    --m_waiting;
    if (failure) {
        std::rethrow_exception(failure);
    }
    return !wasCancelled;
}

} // namespace quillorn
