#pragma once

#include "platform/imaging/worker/Task.h"

#include <vector>

namespace quillorn::worker {

/// Decodes the first picture of an image, the largest one of an icon; a drawing becomes a page of
/// PDF. Needs a QGuiApplication for drawings, a QCoreApplication for everything else.
[[nodiscard]] Decoded decodeWithQt(const Task& task, std::vector<char>& bytes);

} // namespace quillorn::worker
