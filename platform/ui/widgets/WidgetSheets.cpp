#include "platform/ui/widgets/WidgetSheets.h"

#include "platform/ui/widgets/InputGuard.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>

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

void WidgetSheet::runModal() {
    if (!m_dialog) {
        m_dialog = m_parts.make();
        QObject::connect(m_dialog, &QDialog::rejected, m_dialog, [this]() {
            if (m_parts.cancelled) {
                m_parts.cancelled();
            } else {
                stopModal();
            }
        });
    }
    if (m_parts.willRun) {
        m_parts.willRun(*m_dialog);
    }
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
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
    if (m_dialog) {
        m_dialog->hide();
    }
}

void WidgetProgressSheet::make() {
    m_dialog = new QDialog(&sheetParent(m_mainWindow)); // owned by its parent
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setWindowTitle(QObject::tr("Saving"));
    m_dialog->setObjectName(QStringLiteral("saveWindow"));
    InputGuard::letThrough(*m_dialog);
    auto* const layout = new QVBoxLayout(m_dialog);
    auto* const label = new QLabel(QObject::tr("Writing the PDF files…"), m_dialog);
    m_bar = new QProgressBar(m_dialog);
    m_bar->setMinimumWidth(progressWidth);
    m_bar->setAccessibleName(QObject::tr("Progress of the file being written"));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, m_dialog);
    layout->addWidget(label);
    layout->addWidget(m_bar);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, m_dialog, &QDialog::reject);
    QObject::connect(m_dialog, &QDialog::rejected, m_dialog, [this]() {
        if (m_isWriting) {
            m_cancelled();
        }
    });
}

void WidgetProgressSheet::begin(std::size_t maximum) {
    m_isWriting = true;
    if (!m_dialog || !m_dialog->isVisible()) {
        delete m_dialog; // its place is on whatever asks now
        make();
    }
    m_bar->setRange(0, asInt(maximum));
    m_bar->setValue(0);
    m_dialog->show();
}

void WidgetProgressSheet::setValue(std::size_t value) {
    if (m_bar) {
        m_bar->setValue(asInt(value));
    }
}

void WidgetProgressSheet::end() {
    m_isWriting = false;
    if (m_dialog) {
        // Not at once: the next file may begin right behind this one.
        QTimer::singleShot(0, m_dialog, [this]() {
            if (!m_isWriting) {
                m_dialog->hide();
            }
        });
    }
}

} // namespace quillorn
