#include "platform/process/keeper/Keeper.h"

#include "platform/process/keeper/Family.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace quillorn::keeper {

Keeper::Keeper(Launched launched, std::size_t outputLimit, int lifeline, int signals)
    : m_output{std::move(launched.output), {}, true},
      m_errors{std::move(launched.errors), {}, true},
      m_outputLimit(outputLimit),
      m_child(launched.report.child),
      m_lifeline(lifeline),
      m_signals(signals) {
    for (const Stream* const stream : {&m_output, &m_errors}) {
        ::fcntl(stream->from.get(), F_SETFL, O_NONBLOCK);
    }
}

void Keeper::watch() {
    while (!m_isCut && !m_hasEnded) {
        waitForNews();
    }
    reapChildren(); // it may have ended just before it was given up
    if (!m_hasEnded) {
        ::kill(-m_child, SIGKILL);
        while (::waitpid(m_child, &m_waitStatus, 0) < 0 && errno == EINTR) {
        }
    }
    killFamily(m_child);
    drain(m_output);
    drain(m_errors);
}

void Keeper::waitForNews() {
    std::array<pollfd, 4> news = {{{m_lifeline, POLLIN, 0},
                                   {m_signals, POLLIN, 0},
                                   {m_output.from.get(), POLLIN, 0},
                                   {m_errors.from.get(), POLLIN, 0}}};
    if (::poll(news.data(), news.size(), -1) < 0) {
        return; // interrupted
    }
    m_isCut = news[0].revents != 0;
    if (news[1].revents != 0) {
        reapChildren();
    }
    if (news[2].revents != 0) {
        drain(m_output);
    }
    if (news[3].revents != 0) {
        drain(m_errors);
    }
}

void Keeper::reapChildren() {
    struct signalfd_siginfo ignored {};
    static_cast<void>(::read(m_signals, &ignored, sizeof ignored) == 0); // several may be one
    int status = 0;
    for (pid_t ended = 0; (ended = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        if (ended == m_child) {
            m_hasEnded = true;
            m_waitStatus = status;
        }
    }
}

void Keeper::drain(Stream& stream) const {
    std::array<char, 1U << 16U> block{};
    while (stream.from.isOpen()) {
        const ssize_t got = ::read(stream.from.get(), block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && errno == EAGAIN) {
            return;
        }
        if (got <= 0) {
            stream.from.reset(); // poll() passes over it from now on
            return;
        }
        const auto length = static_cast<std::size_t>(got);
        const std::size_t room = m_outputLimit - std::min(m_outputLimit, stream.kept.size());
        stream.kept.append(block.data(), std::min(length, room));
        stream.isWhole = stream.isWhole && length <= room;
    }
}

std::string Keeper::lastReport() const {
    Ended ended;
    ended.byUs = !m_hasEnded;
    ended.waitStatus = m_waitStatus;
    ended.outputBytes = m_output.kept.size();
    ended.errorBytes = m_errors.kept.size();
    ended.isOutputWhole = m_output.isWhole;
    ended.isErrorsWhole = m_errors.isWhole;
    std::string report(sizeof ended, '\0');
    const auto* const bytes = reinterpret_cast<const char*>(&ended);
    std::copy_n(bytes, sizeof ended, report.data());
    return report + m_output.kept + m_errors.kept;
}

} // namespace quillorn::keeper
