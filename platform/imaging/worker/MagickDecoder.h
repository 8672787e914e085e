#pragma once

#include "platform/imaging/worker/Task.h"

#include <vector>

namespace quillorn::worker {

/// Decodes the first picture of an image. The format is the task's, never one that the content
/// asks for, so none of ImageMagick's formats that read other files can be reached.
[[nodiscard]] Decoded decodeWithMagick(const Task& task, std::vector<char>& bytes);

} // namespace quillorn::worker
