#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/process/KeeperProtocol.h"

#include <sys/types.h>

namespace quillorn::keeper {

/// Occupies the numbers that the child's own pipes may have and this process does not use yet, so
/// that nothing else gets them. Call it before anything is opened.
void reserveChildPipes();

/// A started child with our ends of its standard output and standard error.
struct Launched {
    Started report;
    FileDescriptor output;
    FileDescriptor errors;
};

/// Starts the child as the order says, in a process group of its own. Returns when its program
/// runs, or with the reason why it does not.
[[nodiscard]] Launched launch(const Order& order);

} // namespace quillorn::keeper
