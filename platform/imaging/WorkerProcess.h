#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/ImageError.h"
#include "platform/imaging/ImageFormat.h"
#include "platform/imaging/ImageLimits.h"

#include <filesystem>
#include <stop_token>

namespace quillorn {

/// One image to be decoded by another process.
struct WorkerJob {
    std::filesystem::path program; ///< the worker's file
    ImageFormat format = ImageFormat::png;
    ImageLimits limits;
    std::stop_token stop;       ///< looked at several times a second; ends the worker at once
    std::filesystem::path file; ///< for messages
};

/// What a worker said.
struct WorkerAnswer {
    /// The error says why; `mayOthers` when another worker may yet read the image.
    ImageResult<DecodedImage> image;
    bool mayOthers = false;
};

/// Has `input` decoded by a process of its own, so that a decoder that fails, runs away or was
/// taken over by a hostile image costs that process and nothing else. The process is gone when this
/// returns, however it ended, and what it answered was checked. Any thread.
[[nodiscard]] WorkerAnswer runImageWorker(const FileDescriptor& input, const WorkerJob& job);

} // namespace quillorn
