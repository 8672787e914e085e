#pragma once

#include <stop_token>

namespace quillorn {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) into a stop request, so
/// that a job ends between two blocks of bytes and leaves nothing half done. A second signal
/// ends the program at once: a job may be stuck where nobody looks at the request.
///
/// There is one of these a process, for its signals belong to all of it.
class Interrupts {
public:
    /// From now on signals become stop requests. A signal that the program was started with
    /// orders to ignore (nohup) stays ignored. Never fails; never undone.
    static std::stop_token watch();

    /// 128 plus the number of the signal that came first; 0 if none came.
    [[nodiscard]] static int exitStatus();
};

/// Lets writing into a pipe that nobody reads, and writing past the limit for file sizes, fail
/// with an error instead of ending the program.
void ignoreSignalsOfWriting();

} // namespace quillorn
