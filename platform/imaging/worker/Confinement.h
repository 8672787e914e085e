#pragma once

#include "platform/imaging/ImageLimits.h"

namespace quillorn::worker {

/// Sets the limits of this process for memory, processor time and the size of what it writes, and
/// leaves no core file behind.
void limitResources(const ImageLimits& limits);

/// Gives up for good what decoding does not need: starting programs, the network, other processes,
/// and all files but those of the system, which are for reading. What the running kernel does not
/// offer is left out; the limits hold everywhere.
void confine();

} // namespace quillorn::worker
