#pragma once

#include "platform/ui/widgets/WidgetControls.h"
#include "platform/ui/widgets/WidgetSheets.h"

#include <QDialog>
#include <QString>
#include <QWidget>
#include <functional>
#include <string>
#include <vector>

namespace quillorn {

/// The sheets of the main window, each made when it is first wanted, and the controls in them,
/// which are there from the start.
class WindowSheets {
public:
    /// What the buttons do. Each is called with its sheet still open.
    struct Commands {
        std::function<void(Sheet&)> enterPassword;
        std::function<void(Sheet&)> cancelPassword;
        std::function<void(Sheet&)> makeGroup;
        std::function<void(Sheet&)> renameGroup;
        std::function<void(Sheet&)> save;
        std::function<void(Sheet&)> cancel; ///< of the sheets of the output pane
        std::function<void()> chooseFolder;
        std::function<void()> cancelSaving;
        std::function<void(Sheet&)> closeAbout;
        /// A name, without extension, that no group has yet.
        std::function<std::string()> freeGroupName;
        std::function<std::string()> passwordFile;            ///< path of the file that waits
        std::function<std::vector<std::string>()> groupNames; ///< of what would be saved
    };

    explicit WindowSheets(QWidget& mainWindow);
    /// Before any sheet is run.
    void setCommands(Commands commands) { m_commands = std::move(commands); }

    WidgetTextField passwordText;
    WidgetTextField groupNameText;
    WidgetTextField changeNameText;
    WidgetTextField extentionName{".pdf"}; ///< shown by both name sheets
    TitledButton btnSavePath;
    WidgetLabel aboutTitle;
    WidgetLabel aboutVersion;
    WidgetLabel aboutNotice;

    WidgetSheet passwordWindow;
    WidgetSheet groupNameWindow;
    WidgetSheet changeNameWindow;
    WidgetSheet saveToPDFWindow;
    WidgetProgressSheet saveWindow;
    WidgetSheet winAbout;

private:
    [[nodiscard]] QDialog* makePassword();
    [[nodiscard]] QDialog* makeName(const QString& title, const QString& button,
                                    WidgetTextField& name, std::function<void()> confirm);
    [[nodiscard]] QDialog* makeSave();
    [[nodiscard]] QDialog* makeAbout();
    void prepareSave(QDialog& dialog);

    QWidget& m_mainWindow;
    Commands m_commands;
};

} // namespace quillorn
