#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/ImageLimits.h"
#include "platform/imaging/WorkerProtocol.h"

#include <optional>
#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// The answer of a worker, checked: its sizes are within the limits and belong together.
struct WorkerReply {
    worker::ReplyKind kind = worker::ReplyKind::refused;
    std::string text; ///< one printable line; why there is no image
    std::optional<DecodedImage> image;
};

/// Reads what a worker wrote, which may be anything: the image may have taken the worker over. The
/// error is one line.
[[nodiscard]] tl::expected<WorkerReply, std::string> readWorkerReply(const FileDescriptor& output,
                                                                     const ImageLimits& limits);

} // namespace quillorn
