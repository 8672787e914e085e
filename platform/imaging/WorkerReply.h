#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/ImageFormat.h"
#include "platform/imaging/ImageLimits.h"
#include "platform/imaging/WorkerProtocol.h"

#include <optional>
#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// The answer of a worker, checked: it is of the kind that was asked for, its sizes are within the
/// limits and belong together, and no plane has more bytes than its pixels can take.
struct WorkerReply {
    worker::ReplyKind kind = worker::ReplyKind::refused;
    std::string text; ///< one printable line; why there is no image
    std::optional<DecodedImage> image;
};

/// Reads what a worker wrote, which may be anything: the image may have taken the worker over. The
/// error is one line.
[[nodiscard]] tl::expected<WorkerReply, std::string>
readWorkerReply(const FileDescriptor& output, ImageFormat asked, const ImageLimits& limits);

} // namespace quillorn
