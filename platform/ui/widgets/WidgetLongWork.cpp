#include "platform/ui/widgets/WidgetLongWork.h"

#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetSheets.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>
#include <atomic>
#include <cstdint>
#include <exception>
#include <stop_token>
#include <thread>

namespace quillorn {

namespace {

constexpr int showAfter = 400;   // milliseconds
constexpr int windowWidth = 320; // logical pixels

/// The small window beside the work.
std::unique_ptr<QDialog> workWindow(QWidget& parent, const std::string& text,
                                    const std::stop_source& stop) {
    auto window = std::make_unique<QDialog>(&parent);
    window->setObjectName(QStringLiteral("longWork"));
    window->setWindowModality(Qt::ApplicationModal);
    window->setWindowTitle(QApplication::applicationDisplayName());
    auto* const layout = new QVBoxLayout(window.get());
    auto* const label = new QLabel(window.get());
    label->setTextFormat(Qt::PlainText);
    label->setText(label->fontMetrics().elidedText(toQString(text) + QStringLiteral("…"),
                                                   Qt::ElideMiddle, windowWidth));
    auto* const bar = new QProgressBar(window.get());
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setMinimumWidth(windowWidth);
    bar->setAccessibleName(toQString(text));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, window.get());
    layout->addWidget(label);
    layout->addWidget(bar);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, window.get(), &QDialog::reject);
    QObject::connect(window.get(), &QDialog::rejected, window.get(),
                     [source = stop]() mutable { source.request_stop(); });
    return window;
}

} // namespace

WidgetLongWork::WidgetLongWork(QWidget& mainWindow, MainThread& mainThread,
                               ActivityPanel& activities)
    : m_mainWindow(mainWindow), m_mainThread(mainThread), m_activities(&activities) {}

bool WidgetLongWork::run(const std::string& text, const Work& work) {
    return m_mainThread.isCurrent() ? runAndPaint(text, work) : runBeside(text, work);
}

bool WidgetLongWork::runAndPaint(const std::string& text, const Work& work) {
    const InputGuard guard;
    std::stop_source stop;
    std::exception_ptr failure;
    std::atomic<bool> hasEnded = false;
    QEventLoop loop;
    std::unique_ptr<QDialog> window;
    if (!text.empty()) {
        QTimer::singleShot(showAfter, &loop, [this, &window, &text, &stop]() {
            window = workWindow(sheetParent(m_mainWindow), text, stop);
            window->show();
        });
    }
    ++m_waiting;
    std::jthread thread([&work, &stop, &failure, &hasEnded, &loop]() {
        try {
            work(stop.get_token());
        } catch (...) {
            failure = std::current_exception();
        }
        hasEnded = true;
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    // An orderly end of the program ends every loop; the work is not left behind even then.
    loop.exec();
    if (!hasEnded) {
        stop.request_stop();
    }
    const bool wasCancelled = stop.stop_requested();
    thread.join();
    --m_waiting;
    if (failure) {
        std::rethrow_exception(failure);
    }
    return !wasCancelled;
}

bool WidgetLongWork::runBeside(const std::string& text, const Work& work) {
    const std::stop_source stop;
    // Known to the thread of the window only; both calls run there, in this order.
    const auto activity = std::make_shared<std::uint64_t>(0);
    if (!text.empty()) {
        m_mainThread.post([this, text, stop, activity]() {
            if (m_activities) {
                *activity = m_activities->begin(text, stop);
            }
        });
    }
    work(stop.get_token());
    if (!text.empty()) {
        m_mainThread.post([this, activity]() {
            if (m_activities) {
                m_activities->end(*activity);
            }
        });
    }
    return !stop.stop_requested();
}

} // namespace quillorn
