#pragma once

#include <sys/types.h>

namespace quillorn::keeper {

/// Makes this process the one that orphans below it fall to, so that none gets out of sight.
[[nodiscard]] bool adoptOrphans();

/// Kills the process group and every process below this one, and waits until all are gone.
/// Whatever a dying process leaves falls to us and is killed in turn.
void killFamily(pid_t group);

} // namespace quillorn::keeper
