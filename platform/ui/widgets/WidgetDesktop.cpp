#include "platform/ui/widgets/WidgetDesktop.h"

#include "platform/ui/widgets/WidgetSheets.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>
#include <memory>
#include <utility>

namespace quillorn {

namespace {

/// The buttons of a box stand for the answers by their roles.
std::unique_ptr<QMessageBox> messageBox(const Alert& alert, QWidget& parent) {
    auto box = std::make_unique<QMessageBox>(&parent);
    box->setObjectName(QStringLiteral("alert"));
    box->setIcon(alert.alternateButton.empty() ? QMessageBox::Information : QMessageBox::Question);
    box->setTextFormat(Qt::PlainText); // names of files may look like markup
    box->setWindowTitle(shownText(alert.title));
    box->setText(shownText(alert.message));
    QPushButton* const first =
        box->addButton(toQStringWithoutMnemonic(alert.defaultButton), QMessageBox::AcceptRole);
    box->setDefaultButton(first);
    if (alert.alternateButton.empty()) {
        box->setEscapeButton(first);
    } else {
        box->setEscapeButton(box->addButton(toQStringWithoutMnemonic(alert.alternateButton),
                                            QMessageBox::RejectRole));
    }
    return box;
}

AlertAnswer answerOf(const QMessageBox& box, const Alert& alert) {
    QAbstractButton* const clicked = box.clickedButton();
    const bool isDefault = clicked != nullptr && box.buttonRole(clicked) == QMessageBox::AcceptRole;
    // Where there is one button only, it is the answer however the box went away; but a box that
    // was closed by nobody's button counts as the alternate one.
    return isDefault || (alert.alternateButton.empty() && clicked != nullptr)
               ? AlertAnswer::defaultButton
               : AlertAnswer::alternateButton;
}

bool start(const QString& argument) {
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (opener.isEmpty()) {
        return QDesktopServices::openUrl(
            argument.startsWith(QLatin1Char('/')) ? QUrl::fromLocalFile(argument) : QUrl(argument));
    }
    QProcess process;
    process.setProgram(opener);
    process.setArguments({argument});
    // What it has to say about the programs it tries is not ours to print.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace

AlertAnswer WidgetAlerts::runModal(const Alert& alert) {
    const auto box = messageBox(alert, sheetParent(m_mainWindow));
    box->setWindowModality(Qt::ApplicationModal);
    box->exec();
    return answerOf(*box, alert);
}

void WidgetAlerts::beginSheet(const Alert& alert, std::function<void(AlertAnswer)> ended) {
    // Always the main window's: whatever else is open may go before the answer.
    QMessageBox* const box = messageBox(alert, m_mainWindow).release();
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(box, &QDialog::finished, box, [box, alert, ended = std::move(ended)]() {
        const AlertAnswer answer = answerOf(*box, alert);
        box->hide();
        ended(answer);
    });
    box->show();
}

QString nameFilter(const std::vector<std::string>& types) {
    QStringList patterns;
    for (const std::string& type : types) {
        const QString text = toQString(type);
        for (const QString& form : {text.toLower(), text.toUpper()}) {
            const QString pattern = QStringLiteral("*.") + form;
            if (!patterns.contains(pattern)) {
                patterns.append(pattern);
            }
        }
    }
    return QObject::tr("Documents and pictures") + QStringLiteral(" (") +
           patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
}

void WidgetFilePanels::beginSheet(const OpenPanel& panel, OpenPanelEnded didEnd) {
    auto* const dialog = new QFileDialog(&sheetParent(m_mainWindow)); // owned by its parent
    dialog->setObjectName(QStringLiteral("openPanel"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    if (panel.canChooseDirectories && !panel.canChooseFiles) {
        dialog->setWindowTitle(QObject::tr("Choose Folder"));
        dialog->setFileMode(QFileDialog::Directory);
        dialog->setOption(QFileDialog::ShowDirsOnly);
        dialog->setLabelText(QFileDialog::Accept, QObject::tr("Choose"));
    } else {
        dialog->setWindowTitle(QObject::tr("Add Files"));
        dialog->setFileMode(panel.allowsMultipleSelection ? QFileDialog::ExistingFiles
                                                          : QFileDialog::ExistingFile);
    }
    if (!panel.title.empty()) {
        dialog->setWindowTitle(toQString(panel.title));
    }
    dialog->setOption(QFileDialog::ReadOnly, !panel.canCreateDirectories);
    if (!panel.types.empty()) {
        dialog->setOption(QFileDialog::HideNameFilterDetails);
        dialog->setNameFilter(nameFilter(panel.types));
    }
    const QString folder = pathToQString(panel.folder);
    dialog->setDirectory(QFileInfo(folder).isDir() ? folder : QDir::homePath());
    QObject::connect(
        dialog, &QDialog::finished, dialog, [dialog, didEnd = std::move(didEnd)](int code) {
            OpenPanelChoice choice;
            choice.directory = pathFromQString(dialog->directory().absolutePath());
            if (code == QDialog::Accepted) {
                for (const QString& file : dialog->selectedFiles()) {
                    choice.filenames.push_back(pathFromQString(file));
                }
            }
            didEnd(code == QDialog::Accepted ? PanelReturn::ok : PanelReturn::cancel, choice);
        });
    dialog->open();
}

bool WidgetWorkspace::openFile(const std::string& path) {
    return start(pathToQString(path));
}

bool WidgetWorkspace::openFolder(const std::string& path) {
    return start(pathToQString(path));
}

bool WidgetWorkspace::openURL(const std::string& url) {
    return start(toQString(url));
}

WidgetMainThread::WidgetMainThread()
    : m_queue([this]() {
          QCoreApplication::postEvent(&m_receiver,
                                      std::make_unique<QEvent>(QEvent::User).release());
      }) {}

bool WidgetMainThread::Receiver::event(QEvent* /*event*/) {
    m_queue.runPending();
    return true;
}

} // namespace quillorn
