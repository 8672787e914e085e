#include "app/WindowSheets.h"

#include "app/Icons.h"
#include "model/FileNames.h"
#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QResizeEvent>
#include <QVBoxLayout>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quillorn {

namespace {

constexpr int nameWidth = 220;      // logical pixels
constexpr int extensionWidth = 56;  // logical pixels
constexpr int saveWidth = 420;      // logical pixels
constexpr int aboutIcon = 64;       // logical pixels
constexpr int aboutMargin = 28;     // logical pixels
constexpr qsizetype shownNames = 6; // of groups in the save sheet

/// Shows a path in the room that there is, its middle left out where it is too long.
class PathButton final : public QPushButton {
public:
    using QPushButton::QPushButton;

    void setPath(const QString& whole) {
        const QString path = shownText(whole);
        m_path = path;
        setToolTip(path);
        setAccessibleName(QObject::tr("Output folder %1").arg(path));
        updateGeometry();
        elide();
    }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QPushButton::resizeEvent(event);
        elide();
    }
    [[nodiscard]] QSize sizeHint() const override {
        return {roundAbout() + fontMetrics().horizontalAdvance(m_path),
                QPushButton::sizeHint().height()};
    }
    [[nodiscard]] QSize minimumSizeHint() const override {
        return {iconSize().width() * 6, QPushButton::minimumSizeHint().height()};
    }

private:
    /// What it needs beside its text.
    [[nodiscard]] int roundAbout() const {
        return iconSize().width() * 2 + fontMetrics().averageCharWidth() * 2;
    }
    void elide() {
        setText(fontMetrics()
                    .elidedText(m_path, Qt::ElideMiddle, width() - roundAbout())
                    .replace(QLatin1Char('&'), QLatin1String("&&")));
    }

    QString m_path;
};

QDialog* newSheet(QWidget& parent, const QString& title, Qt::WindowModality modality) {
    auto* const dialog = new QDialog(&parent); // owned by its parent
    dialog->setWindowModality(modality);
    dialog->setWindowTitle(title);
    return dialog;
}

QLabel* plainLabel(const QString& text, QWidget* parent) {
    auto* const label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setWordWrap(true);
    return label;
}

/// OK under the given name, and Cancel, which is the same as Escape.
QDialogButtonBox* buttonsOf(QDialog& dialog, const QString& confirmText,
                            std::function<void()> confirm) {
    auto* const buttons = new QDialogButtonBox(&dialog);
    QPushButton* const button = buttons->addButton(confirmText, QDialogButtonBox::AcceptRole);
    button->setDefault(true);
    button->setObjectName(QStringLiteral("confirm"));
    buttons->addButton(QDialogButtonBox::Cancel);
    const auto whileShown = [&dialog](auto command) {
        return whileTakingInput(dialog, [&dialog, command = std::move(command)]() {
            if (dialog.isVisible()) { // or it is answered already
                command();
            }
        });
    };
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, whileShown(std::move(confirm)));
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog,
                     whileShown([&dialog]() { dialog.reject(); }));
    return buttons;
}

void focusAll(QDialog& dialog, const char* edit) {
    if (auto* const line = dialog.findChild<QLineEdit*>(QLatin1String(edit))) {
        line->setFocus();
        line->selectAll();
    }
}

} // namespace

WindowSheets::WindowSheets(QWidget& mainWindow)
    : passwordWindow(
          {[this]() { return makePassword(); },
           [this](QDialog& dialog) {
               dialog.findChild<QLabel*>(QStringLiteral("question"))
                   ->setText(QObject::tr("Password of %1:")
                                 .arg(shownText(lastPathComponent(m_commands.passwordFile()))));
               dialog.findChild<QCheckBox*>()->setChecked(false);
               focusAll(dialog, "passwordText");
           },
           [this]() { m_commands.cancelPassword(passwordWindow); }}),
      groupNameWindow({[this]() {
                           return makeName(QObject::tr("New Output Group"), QObject::tr("Create"),
                                           groupNameText,
                                           [this]() { m_commands.makeGroup(groupNameWindow); });
                       },
                       [this](QDialog& dialog) {
                           groupNameText.setStringValue(m_commands.freeGroupName());
                           focusAll(dialog, "name");
                       },
                       [this]() { m_commands.cancel(groupNameWindow); }}),
      changeNameWindow({[this]() {
                            return makeName(QObject::tr("Rename Group"), QObject::tr("Rename"),
                                            changeNameText,
                                            [this]() { m_commands.renameGroup(changeNameWindow); });
                        },
                        [](QDialog& dialog) { focusAll(dialog, "name"); },
                        [this]() { m_commands.cancel(changeNameWindow); }}),
      saveToPDFWindow({[this]() { return makeSave(); },
                       [this](QDialog& dialog) {
                           prepareSave(dialog);
                           dialog.findChild<QPushButton*>(QStringLiteral("confirm"))->setFocus();
                       },
                       [this]() { m_commands.cancel(saveToPDFWindow); }}),
      saveWindow(mainWindow, [this]() { m_commands.cancelSaving(); }),
      winAbout(
          {[this]() { return makeAbout(); }, {}, [this]() { m_commands.closeAbout(winAbout); }}),
      m_mainWindow(mainWindow) {}

QDialog* WindowSheets::makePassword() {
    QDialog* const dialog = newSheet(m_mainWindow, QObject::tr("Password"), Qt::ApplicationModal);
    dialog->setObjectName(QStringLiteral("passwordWindow"));
    QLabel* const question = plainLabel({}, dialog);
    question->setObjectName(QStringLiteral("question"));
    auto* const edit = new QLineEdit(dialog);
    edit->setObjectName(QStringLiteral("passwordText"));
    edit->setEchoMode(QLineEdit::Password);
    edit->setMinimumWidth(nameWidth);
    edit->setAccessibleName(QObject::tr("Password"));
    passwordText.attach(*edit);
    question->setBuddy(edit);
    auto* const shows = new QCheckBox(QObject::tr("&Show password"), dialog);
    QObject::connect(shows, &QCheckBox::toggled, edit, [edit](bool shown) {
        edit->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
    });
    auto* const layout = new QVBoxLayout(dialog);
    layout->addWidget(question);
    layout->addWidget(edit);
    layout->addWidget(shows);
    layout->addWidget(buttonsOf(*dialog, QObject::tr("OK"),
                                [this]() { m_commands.enterPassword(passwordWindow); }));
    return dialog;
}

QDialog* WindowSheets::makeName(const QString& title, const QString& button, WidgetTextField& name,
                                std::function<void()> confirm) {
    QDialog* const dialog = newSheet(m_mainWindow, title, Qt::WindowModal);
    dialog->setObjectName(&name == &groupNameText ? QStringLiteral("groupNameWindow")
                                                  : QStringLiteral("changeNameWindow"));
    auto* const edit = new QLineEdit(dialog);
    edit->setObjectName(QStringLiteral("name"));
    edit->setMinimumWidth(nameWidth);
    edit->setAccessibleName(QObject::tr("Name of the PDF"));
    name.attach(*edit);
    auto* const extension = new QLineEdit(dialog);
    extension->setObjectName(QStringLiteral("extension"));
    extension->setFixedWidth(extensionWidth);
    extension->setAccessibleName(QObject::tr("Extension of the name"));
    extentionName.attach(*extension);
    auto* const line = new QHBoxLayout;
    line->addWidget(edit, 1);
    line->addWidget(extension);
    auto* const form = new QFormLayout;
    form->addRow(QObject::tr("&Name:"), line);
    // The row's label stands for the layout, so its key has to be told where to go.
    if (auto* const label = qobject_cast<QLabel*>(form->labelForField(line))) {
        label->setBuddy(edit);
    }
    auto* const layout = new QVBoxLayout(dialog);
    layout->addLayout(form);
    layout->addWidget(buttonsOf(*dialog, button, std::move(confirm)));
    return dialog;
}

QDialog* WindowSheets::makeSave() {
    QDialog* const dialog = newSheet(m_mainWindow, QObject::tr("Save"), Qt::WindowModal);
    dialog->setObjectName(QStringLiteral("saveToPDFWindow"));
    QLabel* const names = plainLabel({}, dialog);
    names->setObjectName(QStringLiteral("names"));
    QLabel* const replaced = plainLabel({}, dialog);
    replaced->setObjectName(QStringLiteral("replaced"));
    auto* const folder = new PathButton(dialog);
    folder->setObjectName(QStringLiteral("folder"));
    folder->setIcon(lineIcon("folder"));
    folder->setAutoDefault(false);
    folder->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    QObject::connect(folder, &QPushButton::clicked, dialog,
                     whileTakingInput(*dialog, [this]() { m_commands.chooseFolder(); }));
    btnSavePath.setChanged([this, folder, dialog]() {
        folder->setPath(toQString(btnSavePath.title()));
        prepareSave(*dialog);
    });
    auto* const form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow(QObject::tr("&Folder:"), folder);
    auto* const layout = new QVBoxLayout(dialog);
    layout->addWidget(names);
    layout->addLayout(form);
    layout->addWidget(replaced);
    layout->addWidget(
        buttonsOf(*dialog, QObject::tr("Save"), [this]() { m_commands.save(saveToPDFWindow); }));
    dialog->setMinimumWidth(std::min(saveWidth, dialog->screen()->availableSize().width()));
    folder->setPath(toQString(btnSavePath.title()));
    return dialog;
}

void WindowSheets::prepareSave(QDialog& dialog) {
    const std::vector<std::string> groups = m_commands.groupNames();
    QStringList names;
    qsizetype replaced = 0;
    for (const std::string& name : groups) {
        names.append(shownText(name));
        std::error_code error;
        if (std::filesystem::exists(joinedPath(btnSavePath.title(), name), error)) {
            ++replaced;
        }
    }
    const qsizetype count = names.size();
    if (count > shownNames) {
        names = names.first(shownNames - 1);
        names.append(QObject::tr("and %1 more").arg(count - shownNames + 1));
    }
    auto* const label = dialog.findChild<QLabel*>(QStringLiteral("names"));
    label->setText((count == 1 ? QObject::tr("One PDF will be written:")
                               : QObject::tr("%1 PDFs will be written:").arg(count)) +
                   QLatin1Char('\n') + names.join(QLatin1Char('\n')));
    auto* const note = dialog.findChild<QLabel*>(QStringLiteral("replaced"));
    note->setVisible(replaced > 0);
    note->setText(replaced == 1
                      ? QObject::tr("One file of that name is there already and is replaced.")
                      : QObject::tr("%1 files of those names are there already and are replaced.")
                            .arg(replaced));
    dialog.adjustSize();
}

QDialog* WindowSheets::makeAbout() {
    QDialog* const dialog = newSheet(m_mainWindow, QObject::tr("About"), Qt::ApplicationModal);
    dialog->setObjectName(QStringLiteral("winAbout"));
    auto* const icon = new QLabel(dialog);
    icon->setPixmap(QApplication::windowIcon().pixmap(QSize(aboutIcon, aboutIcon)));
    auto* const title = new QLabel(dialog);
    auto* const version = new QLabel(dialog);
    auto* const notice = new QLabel(dialog);
    aboutTitle.attach(*title);
    aboutVersion.attach(*version);
    aboutNotice.attach(*notice);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* const layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(aboutMargin, aboutMargin, aboutMargin, aboutMargin / 2);
    for (QLabel* const label : {icon, title, version, notice}) {
        layout->addWidget(label, 0, Qt::AlignHCenter);
    }
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    buttons->setCenterButtons(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addSpacing(aboutMargin / 2);
    layout->addWidget(buttons);
    return dialog;
}

} // namespace quillorn
