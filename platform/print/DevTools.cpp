#include "platform/print/DevTools.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using std::chrono::milliseconds;

/// A stop request is looked for this often: nobody can be called back from a signal's handler.
constexpr milliseconds stopInterval{100};

/// An engine that takes nothing for so long has stopped reading: it does that for ever after a
/// message that is too long for it.
constexpr std::chrono::seconds writePatience{10};

milliseconds remaining(DevTools::Clock::time_point deadline) {
    return std::max(std::chrono::ceil<milliseconds>(deadline - DevTools::Clock::now()),
                    milliseconds{0});
}

} // namespace

std::optional<int> DevTools::send(const std::string& method, JSON parameters,
                                  const std::string& session) {
    JSON message = {{"id", ++m_lastNumber}, {"method", method}, {"params", std::move(parameters)}};
    if (!session.empty()) {
        message["sessionId"] = session;
    }
    // Bytes that are no UTF-8 stand in no text of ours but may in an address that came back.
    std::string text = message.dump(-1, ' ', false, JSON::error_handler_t::replace);
    text.push_back('\0');
    return writeWhole(text) ? std::optional(m_lastNumber) : std::nullopt;
}

bool DevTools::writeWhole(const std::string& text) {
    const auto deadline = Clock::now() + writePatience;
    const int pipe = m_engine.pipe(requestPipe).get();
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t put = ::write(pipe, text.data() + done, text.size() - done);
        if (put >= 0) {
            done += static_cast<std::size_t>(put);
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN || Clock::now() > deadline) {
            return false;
        }
        // Read meanwhile: the engine may wait for that before it reads on.
        std::array<pollfd, 2> news = {
            {{pipe, POLLOUT, 0}, {m_engine.pipe(answerPipe).get(), POLLIN, 0}}};
        ::poll(news.data(), news.size(), static_cast<int>(stopInterval.count()));
        if (news[1].revents != 0 && !read()) {
            return false;
        }
    }
    return true;
}

bool DevTools::read() {
    std::array<char, 1U << 18U> block{};
    const ssize_t got = ::read(m_engine.pipe(answerPipe).get(), block.data(), block.size());
    if (got > 0) {
        m_received.append(block.data(), static_cast<std::size_t>(got));
    }
    return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
}

bool DevTools::takeMessage(JSON& message) {
    while (true) {
        const std::size_t end = m_received.find('\0', m_scanned);
        if (end == std::string::npos) {
            m_received.erase(0, m_start);
            m_start = 0;
            m_scanned = m_received.size();
            return false;
        }
        message =
            JSON::parse(m_received.begin() + static_cast<std::ptrdiff_t>(m_start),
                        m_received.begin() + static_cast<std::ptrdiff_t>(end), nullptr, false);
        m_start = m_scanned = end + 1;
        if (message.is_object()) {
            return true;
        }
    }
}

WebWait DevTools::receive(JSON& message, Clock::time_point deadline, const std::stop_token& stop) {
    while (!takeMessage(message)) {
        if (stop.stop_requested()) {
            return WebWait::cancelled;
        }
        const milliseconds left = remaining(deadline);
        if (left == milliseconds{0}) {
            return WebWait::timeOver;
        }
        pollfd news{m_engine.pipe(answerPipe).get(), POLLIN, 0};
        ::poll(&news, 1, static_cast<int>(std::min(left, stopInterval).count()));
        if (news.revents != 0 && !read()) {
            return WebWait::engineGone;
        }
    }
    return WebWait::done;
}

} // namespace quillorn
