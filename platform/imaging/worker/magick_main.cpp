#include "platform/imaging/worker/MagickDecoder.h"
#include "platform/imaging/worker/Task.h"

#include <cstdlib>

// The process that decodes what Qt's readers do not know, with ImageMagick.
int main(int argc, char** argv) {
    // Nothing is worth taking apart in a process that ends.
    std::_Exit(quillorn::worker::serve(argc, argv, quillorn::worker::decodeWithMagick));
}
