#include "platform/render/worker/RenderService.h"
#include "platform/render/worker/WorkerSetup.h"

#include <cstdlib>
#include <memory>
#include <poppler/Error.h>
#include <poppler/ErrorCodes.h>
#include <poppler/GlobalParams.h>

namespace {

void saySomething(ErrorCategory /*category*/, Goffset /*position*/, const char* /*message*/) {}

} // namespace

// The process that draws pages for the program.
int main(int argc, char** argv) {
    using namespace quillorn::render;
    const auto setup = setUpWorker(argc, argv);
    if (!setup) {
        return EXIT_FAILURE;
    }
    globalParams = std::make_unique<GlobalParams>();
    setErrorCallback(saySomething);
    RenderService(setup->processorTimeAPage).run();
    // Nothing is worth taking apart in a process that ends.
    std::_Exit(EXIT_SUCCESS);
}
