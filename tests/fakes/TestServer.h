#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace quillorn::tests {

/// A web server on this machine for one test. It counts who comes, and answers each request with
/// what the test gives it, or keeps silent.
class TestServer {
public:
    /// The whole answer to a request ("GET /a.css HTTP/1.1..."); empty: none, for ever.
    using Answer = std::function<std::string(const std::string& request)>;

    /// With `drips` set no answer ever ends: byte after byte follows. Throws std::runtime_error
    /// where no port can be had.
    explicit TestServer(Answer answer, bool drips = false);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    /// "http://127.0.0.1:PORT"
    [[nodiscard]] std::string url() const;
    [[nodiscard]] int visitors() const { return m_visitors.load(); }

    /// A complete answer with this content.
    [[nodiscard]] static std::string page(const std::string& mimeType, const std::string& body);

private:
    void serve();

    Answer m_answer;
    bool m_drips;
    int m_socket = -1;
    std::uint16_t m_port = 0;
    std::atomic<int> m_visitors{0};
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};

} // namespace quillorn::tests
