#include "app/ExitStatus.h"
#include "app/RunningInstance.h"
#include "app/WindowProgram.h"
#include "platform/ui/ApplicationName.h"
#include "platform/ui/HomeFolder.h"
#include "platform/ui/SettingsPreferences.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QApplication>
#include <QIcon>
#include <QSocketNotifier>
#include <clocale>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

std::filesystem::path folderOfProgram() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

} // namespace

/// What WindowStart.cpp looks up by name: runs the window until it is closed. `argc` and `argv` are
/// those of the process. Returns its exit status.
extern "C" int quillornRunWindow(int argc, char** argv, const std::vector<std::string>& files,
                                 quillorn::RunningInstance& instance) {
    using namespace quillorn;
    try {
        QApplication::setApplicationName(toQString(applicationUnixName));
        QApplication::setApplicationDisplayName(toQString(applicationName));
        QApplication::setApplicationVersion(QStringLiteral(QUILLORN_VERSION));
        QApplication::setDesktopFileName(toQString(applicationUnixName));
        QApplication application(argc, argv);
        // Qt follows the user's locale; whoever reads a PDF's numbers goes on with points.
        std::setlocale(LC_NUMERIC, "C");
        Resources resources = Resources::ofProgram();
        if (const auto icon = resources.pathForResource("quillorn-folivane", "png")) {
            QApplication::setWindowIcon(QIcon(pathToQString(icon->string())));
        }
        WindowProgram program({folderOfProgram(), std::move(resources), homeFolder(),
                               std::make_unique<SettingsPreferences>()});
        QSocketNotifier notifier(instance.descriptor(), QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, &program, [&program, &instance]() {
            if (program.isClosed()) {
                return; // what came now would be lost
            }
            if (const auto what = instance.accept()) {
                program.raiseWindow();
                program.openFiles(what->files);
            }
        });
        program.start();
        program.openFiles(files);
        const int status = QApplication::exec();
        notifier.setEnabled(false);
        instance.stopListening();
        return status;
    } catch (const std::exception& error) {
        std::cerr << "The program cannot go on: " << error.what() << '\n';
        return exit_status::notWritten;
    }
}
