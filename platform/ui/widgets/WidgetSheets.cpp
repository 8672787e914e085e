#include "platform/ui/widgets/WidgetSheets.h"

#include "platform/ui/widgets/InputGuard.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>
#include <utility>

namespace quillorn {

namespace {

constexpr int progressWidth = 320; // logical pixels

int asInt(std::size_t value) {
    constexpr auto largest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(value, largest));
}

} // namespace

QWidget& sheetParent(QWidget& mainWindow) {
    QWidget* const modal = QApplication::activeModalWidget();
    return modal != nullptr ? *modal : mainWindow;
}

QDialogButtonBox* cancelButtonBeside(QProgressBar& bar, QDialog& dialog) {
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, &dialog); // the dialog's
    QPushButton* const cancel = buttons->button(QDialogButtonBox::Cancel);
    cancel->setAutoDefault(false);
    cancel->setDefault(false);
    bar.setFocusPolicy(Qt::TabFocus);
    bar.setFocus();
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    return buttons;
}

void WidgetSheet::runModal() {
    QDialog* dialog = m_dialog.data();
    if (dialog == nullptr) {
        dialog = m_parts.make();
        m_dialog = dialog;
        QObject::connect(dialog, &QDialog::rejected, dialog, [this]() {
            if (m_parts.cancelled) {
                m_parts.cancelled();
            } else {
                stopModal();
            }
        });
    }
    if (m_parts.willRun) {
        m_parts.willRun(*dialog);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
    QEventLoop loop;
    m_runs.push_back(&loop);
    loop.exec();
    m_runs.pop_back();
}

void WidgetSheet::stopModal() {
    if (!m_runs.empty()) {
        m_runs.back()->quit();
    }
}

void WidgetSheet::orderOut() {
    if (QDialog* const dialog = m_dialog.data()) {
        dialog->hide();
    }
}

WidgetProgressSheet::WidgetProgressSheet(QWidget& mainWindow, std::function<void()> cancelled)
    : m_mainWindow(mainWindow), m_cancelled(std::move(cancelled)) {
    constexpr int patience = 500; // milliseconds, where another program keeps the keys
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    QObject::connect(&m_patience, &QTimer::timeout, &m_patience, [this]() { hideIfDone(); });
}

void WidgetProgressSheet::make() {
    auto* const dialog = new QDialog(&sheetParent(m_mainWindow)); // owned by its parent
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(QObject::tr("Saving"));
    dialog->setObjectName(QStringLiteral("saveWindow"));
    InputGuard::letThrough(*dialog);
    auto* const layout = new QVBoxLayout(dialog);
    auto* const label = new QLabel(QObject::tr("Writing the PDF files…"), dialog);
    auto* const bar = new QProgressBar(dialog);
    bar->setMinimumWidth(progressWidth);
    bar->setAccessibleName(QObject::tr("Progress of the file being written"));
    layout->addWidget(label);
    layout->addWidget(bar);
    layout->addWidget(cancelButtonBeside(*bar, *dialog));
    QObject::connect(dialog, &QDialog::rejected, dialog, [this]() {
        if (m_isWriting) {
            m_cancelled();
        }
    });
    QObject::connect(
        qApp, &QGuiApplication::focusWindowChanged, dialog, [this]() { hideIfDone(); },
        Qt::QueuedConnection); // the widgets come to know it after the signal
    m_dialog = dialog;
    m_bar = bar;
    m_isValueAwaited = false; // an earlier bar took its timer along
}

void WidgetProgressSheet::begin(std::size_t maximum) {
    m_isWriting = true;
    m_patience.stop();
    m_value = 0;
    QDialog* const earlier = m_dialog.data();
    if (earlier == nullptr || !earlier->isVisible()) {
        delete earlier; // its place is on whatever asks now
        make();
    }
    if (QProgressBar* const bar = m_bar.data()) {
        bar->setRange(0, asInt(maximum));
        bar->setValue(0);
    }
    if (QDialog* const dialog = m_dialog.data()) {
        dialog->show();
    }
}

void WidgetProgressSheet::setValue(std::size_t value) {
    // Pages are written faster than a bar is painted: those of a long file at once, each painted,
    // would keep the window from everything else.
    constexpr int pause = 15; // milliseconds
    m_value = value;
    QProgressBar* const bar = m_bar.data();
    if (bar != nullptr && !std::exchange(m_isValueAwaited, true)) {
        QTimer::singleShot(pause, bar, [this, bar]() {
            m_isValueAwaited = false;
            bar->setValue(asInt(m_value));
        });
    }
}

void WidgetProgressSheet::end() {
    m_isWriting = false;
    if (QDialog* const dialog = m_dialog.data()) {
        // Not at once: the next file may begin right behind this one.
        QTimer::singleShot(0, dialog, [this]() { hideIfDone(); });
        m_patience.start();
    }
}

void WidgetProgressSheet::hideIfDone() {
    // Some window managers lose the keys where windows come and go this fast: given to a window
    // that is already gone, or to none when two go at once. So it stays until it has them, and
    // hands them on itself.
    QDialog* const dialog = m_dialog.data();
    if (dialog == nullptr || m_isWriting || !dialog->isVisible()) {
        return;
    }
    const bool hasKeys = dialog->isActiveWindow();
    if (hasKeys || !m_patience.isActive()) {
        dialog->hide();
    }
    if (hasKeys) {
        sheetParent(m_mainWindow).activateWindow();
    }
}

} // namespace quillorn
