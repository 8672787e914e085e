#include "platform/imaging/worker/QtDecoder.h"
#include "platform/imaging/worker/Task.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <string_view>

// The process that decodes images with Qt's readers. It reads its own arguments; Qt gets none.
int main(int argc, char** argv) {
    using namespace quillorn;
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int noArguments = 1;
    char* const name[] = {argv[0], nullptr};
    // Only drawings need fonts; pixels are decoded without the wait for them.
    std::unique_ptr<QCoreApplication> application;
    if (argc > 1 && std::string_view(argv[1]) == imageFormatName(ImageFormat::svg)) {
        application = std::make_unique<QGuiApplication>(noArguments, const_cast<char**>(name));
    } else {
        application = std::make_unique<QCoreApplication>(noArguments, const_cast<char**>(name));
    }
    // Nothing is worth taking apart in a process that ends.
    std::_Exit(worker::serve(argc, argv, worker::decodeWithQt));
}
