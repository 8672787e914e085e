#pragma once

#include "platform/ui/Sheet.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QPointer>
#include <QProgressBar>
#include <QTimer>
#include <cstddef>
#include <functional>
#include <vector>

class QEventLoop;

namespace quillorn {

/// Where a new sheet goes: on the sheet that is open, or else on the main window.
[[nodiscard]] QWidget& sheetParent(QWidget& mainWindow);

/// A cancel button below `bar`, which keeps the keys: Return or Space, pressed once too often in
/// the sheet before, must not cancel. Escape does, and Tab leads to the button.
[[nodiscard]] QDialogButtonBox* cancelButtonBeside(QProgressBar& bar, QDialog& dialog);

/// A dialog as a sheet. The dialog is made when it is run for the first time, since most runs of
/// the program need none.
class WidgetSheet final : public Sheet {
public:
    struct Parts {
        /// Makes the dialog, with its modality and parent set; the parent owns it.
        std::function<QDialog*()> make;
        std::function<void(QDialog&)> willRun = {}; ///< before it is shown, each time
        /// The close box or Escape, after the dialog has gone. Without it the modal run ends.
        std::function<void()> cancelled = {};
    };

    explicit WidgetSheet(Parts parts) : m_parts(std::move(parts)) {}
    WidgetSheet(const WidgetSheet&) = delete;
    WidgetSheet& operator=(const WidgetSheet&) = delete;

    void runModal() override;
    void stopModal() override;
    void orderOut() override;

private:
    Parts m_parts;
    QPointer<QDialog> m_dialog;
    std::vector<QEventLoop*> m_runs; ///< innermost last; each lives as long as its `runModal`
};

/// A bar that fills, with a button to cancel. The windows of files that are written one after the
/// other are one window, so that nothing flickers.
class WidgetProgressSheet final : public ProgressSheet {
public:
    /// `cancelled` is called by the cancel button, Escape and the close box.
    WidgetProgressSheet(QWidget& mainWindow, std::function<void()> cancelled);

    void begin(std::size_t maximum) override;
    void setValue(std::size_t value) override;
    void end() override;

private:
    void make();
    /// Hides it when nothing is written any more and it has the keys, which then go to the window
    /// below it; without the keys only once the patience is over.
    void hideIfDone();

    QWidget& m_mainWindow;
    std::function<void()> m_cancelled;
    QPointer<QDialog> m_dialog;
    QPointer<QProgressBar> m_bar;
    std::size_t m_value = 0; ///< what the bar is to show
    bool m_isValueAwaited = false;
    bool m_isWriting = false;
    QTimer m_patience; ///< how long it waits for the keys when it is done
};

} // namespace quillorn
