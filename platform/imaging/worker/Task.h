#pragma once

#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/ImageFormat.h"
#include "platform/imaging/ImageLimits.h"
#include "platform/imaging/WorkerProtocol.h"

#include <functional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace quillorn::worker {

/// What the process that this worker serves asks for.
struct Task {
    ImageFormat format = ImageFormat::png;
    ImageLimits limits;
};

/// Why there is no image.
struct Refusal {
    ReplyKind kind = ReplyKind::refused;
    std::string reason;
};

using Decoded = tl::expected<DecodedImage, Refusal>;

/// The main function of a worker: reads the arguments, gives up every right that decoding does
/// not need, calls `decode` with the task and the bytes of the file, and answers. Memory that
/// runs out and exceptions become refusals. Returns the exit status.
[[nodiscard]] int serve(int argc, char** argv,
                        const std::function<Decoded(const Task&, std::vector<char>&)>& decode);

} // namespace quillorn::worker
