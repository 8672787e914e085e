#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/process/keeper/Launch.h"

#include <cstddef>
#include <string>

namespace quillorn::keeper {

/// Watches over a started child until it ends or the lifeline is cut.
class Keeper {
public:
    /// `lifeline` and `signals` (a signalfd for SIGCHLD) are not owned.
    Keeper(Launched launched, std::size_t outputLimit, int lifeline, int signals);

    /// Returns when the child has ended and its family is gone.
    void watch();

    /// The report about the end with the kept output, as bytes for the status pipe.
    [[nodiscard]] std::string lastReport() const;

private:
    /// What the child says on one stream.
    struct Stream {
        FileDescriptor from;
        std::string kept;
        bool isWhole = true;
    };

    void waitForNews();
    void reapChildren();
    /// Takes what is there without waiting.
    void drain(Stream& stream) const;

    Stream m_output;
    Stream m_errors;
    std::size_t m_outputLimit;
    int m_child;
    int m_lifeline;
    int m_signals;
    bool m_isCut = false;
    bool m_hasEnded = false;
    int m_waitStatus = 0;
};

} // namespace quillorn::keeper
