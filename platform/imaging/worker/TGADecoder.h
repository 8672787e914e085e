#pragma once

#include "platform/imaging/worker/Task.h"

#include <vector>

namespace quillorn::worker {

/// Decodes a Targa file: palettes, 5 to 8 bits a colour, grey with or without alpha, run lengths
/// or none, any corner first. Our own, because the libraries disagree over alpha and grey. What is
/// cut short is refused.
[[nodiscard]] Decoded decodeTGA(const Task& task, const std::vector<char>& bytes);

} // namespace quillorn::worker
