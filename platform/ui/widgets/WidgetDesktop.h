#pragma once

#include "platform/ui/Alerts.h"
#include "platform/ui/FilePanels.h"
#include "platform/ui/MainThread.h"
#include "platform/ui/MainThreadQueue.h"
#include "platform/ui/Workspace.h"

#include <QObject>
#include <QWidget>
#include <functional>
#include <string>

namespace quillorn {

/// Messages as message boxes on the main window, or on the sheet that is open.
class WidgetAlerts final : public Alerts {
public:
    explicit WidgetAlerts(QWidget& mainWindow) : m_mainWindow(mainWindow) {}
    AlertAnswer runModal(const Alert& alert) override;
    void beginSheet(const Alert& alert, std::function<void(AlertAnswer)> ended) override;

private:
    QWidget& m_mainWindow;
};

/// The desktop's file dialogs, or Qt's where it has none.
class WidgetFilePanels final : public FilePanels {
public:
    explicit WidgetFilePanels(QWidget& mainWindow) : m_mainWindow(mainWindow) {}
    void beginSheet(const OpenPanel& panel, OpenPanelEnded didEnd) override;

private:
    QWidget& m_mainWindow;
};

/// What a file dialog offers for `types`: "Documents (*.pdf *.PDF ...)".
[[nodiscard]] QString nameFilter(const std::vector<std::string>& types);

/// Opens things through `xdg-open`, without a shell between.
class WidgetWorkspace final : public Workspace {
public:
    bool openFile(const std::string& path) override;
    bool openFolder(const std::string& path) override;
    bool openURL(const std::string& url) override;
};

/// Hands work to the thread of the window through its event loop.
class WidgetMainThread final : public MainThread {
public:
    /// By the thread of the window.
    WidgetMainThread();
    [[nodiscard]] bool isCurrent() const override { return m_queue.isCurrent(); }
    bool runAndWait(const std::function<void()>& work) override { return m_queue.runAndWait(work); }
    void post(std::function<void()> work) override { m_queue.post(std::move(work)); }
    void close() { m_queue.close(); }

private:
    /// Only the queue knows what there is to do: an event of any kind says that it is time.
    class Receiver final : public QObject {
    public:
        explicit Receiver(MainThreadQueue& queue) : m_queue(queue) {}
        bool event(QEvent* event) override;

    private:
        MainThreadQueue& m_queue;
    };

    Receiver m_receiver{m_queue};
    MainThreadQueue m_queue;
};

} // namespace quillorn
