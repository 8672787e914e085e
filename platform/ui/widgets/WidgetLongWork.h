#pragma once

#include "platform/ui/LongWork.h"
#include "platform/ui/MainThread.h"
#include "platform/ui/widgets/ActivityPanel.h"

#include <QPointer>
#include <QWidget>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

class WorkWindow;

/// Long work over the event loop. What the thread of the window waits for gets a small window with
/// a cancel button; what another thread does is told in the activity panel. A series has one of
/// the two for all its pieces.
class WidgetLongWork final : public LongWork {
public:
    /// All outlive this and the threads that call it.
    WidgetLongWork(QWidget& mainWindow, MainThread& mainThread, ActivityPanel& activities);

    [[nodiscard]] bool run(const std::string& text, const Work& work) override;
    [[nodiscard]] std::unique_ptr<LongWork> series(const std::string& text) override;
    /// Whether the thread of the window waits for something now.
    [[nodiscard]] bool isWaiting() const { return m_waiting > 0; }

private:
    class WindowSeries;
    class PanelSeries;

    /// False when the user cancelled.
    [[nodiscard]] bool runAndPaint(WorkWindow& window, const Work& work);

    QWidget& m_mainWindow;
    MainThread& m_mainThread;
    QPointer<ActivityPanel> m_activities;
    int m_waiting = 0;
};

} // namespace quillorn
