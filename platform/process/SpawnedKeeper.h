#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"
#include "platform/process/ChildCommand.h"

#include <map>
#include <sys/types.h>

namespace quillorn {

/// A keeper that has just been started (ChildProcess.h), and our ends of its pipes.
struct SpawnedKeeper {
    pid_t process = -1;
    FileDescriptor lifeline;
    FileDescriptor status;               ///< does not block
    std::map<int, FileDescriptor> pipes; ///< by their number in the child; do not block
};

/// Starts the keeper for a command. The command is checked here; whether the child can be started
/// is what the keeper reports.
[[nodiscard]] FileResult<SpawnedKeeper> spawnKeeper(const ChildCommand& command);

} // namespace quillorn
