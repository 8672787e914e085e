#include "tests/app/window/Photographer.h"

#include <QApplication>
#include <QFile>
#include <QPalette>
#include <QProcess>
#include <QStyleFactory>
#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Pictures of the program's window in all its states, for people to look at:
//     quillorn-window-screenshots FOLDER FILE FILE...
// makes three folders of them, "light", "dark", and "large" as on a screen of 200 %.

namespace {

constexpr std::array<std::string_view, 3> variants = {"light", "dark", "large"};
constexpr const char* variantOption = "--variant"; // of the processes that make one folder each

QPalette darkPalette() {
    QPalette palette(QColor(53, 53, 57));
    palette.setColor(QPalette::Base, QColor(35, 35, 38));
    palette.setColor(QPalette::Highlight, QColor(61, 126, 219));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, QColor(232, 232, 235));
        palette.setColor(QPalette::Disabled, role, QColor(130, 130, 134));
    }
    palette.setColor(QPalette::PlaceholderText, QColor(170, 170, 175));
    return palette;
}

int takePictures(int argc, char** argv, const std::string& variant,
                 const std::filesystem::path& folder, const std::vector<std::string>& files) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("fusion")));
    QApplication::setApplicationDisplayName(QStringLiteral("Quillorn Folivane"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setCursorFlashTime(0); // or a picture would have it and the next one not
    QApplication::setWindowIcon(
        QIcon(QStringLiteral(QUILLORN_PROGRAM_FOLDER "/resources/quillorn-folivane.png")));
    if (variant == "dark") {
        QApplication::setPalette(darkPalette());
    }
    std::filesystem::create_directories(folder / variant);
    const int failures = quillorn::tests::Photographer(folder / variant, files).run();
    return failures == 0 ? 0 : 1;
}

/// The scale of the screen is known to Qt before its application object, so each variant is a
/// process of its own. All of them work at the same time.
int startVariants(const QStringList& words) {
    int status = 0;
    std::array<QProcess, variants.size()> processes;
    for (std::size_t i = 0; i < variants.size(); ++i) {
        const std::string_view variant = variants.at(i);
        QProcess& process = processes.at(i);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"),
                           variant == "large" ? QStringLiteral("2") : QStringLiteral("1"));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(
            QFile::symLinkTarget(QStringLiteral("/proc/self/exe")),
            QStringList{QLatin1String(variantOption),
                        QString::fromUtf8(variant.data(), static_cast<qsizetype>(variant.size()))} +
                words);
    }
    for (QProcess& process : processes) {
        const bool hasEnded = process.waitForFinished(-1);
        if (!hasEnded || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
            status = 1;
        }
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    std::string variant;
    if (words.size() > 1 && words.front() == variantOption) {
        variant = words[1];
        words.erase(words.begin(), words.begin() + 2);
    }
    if (words.size() < 3) {
        std::fputs("usage: quillorn-window-screenshots FOLDER FILE FILE...\n", stderr);
        return 2;
    }
    if (variant.empty()) {
        QStringList all;
        for (const std::string& word : words) {
            all.append(QString::fromStdString(std::filesystem::absolute(word).string()));
        }
        return startVariants(all);
    }
    return takePictures(argc, argv, variant, words.front(), {words.begin() + 1, words.end()});
}
