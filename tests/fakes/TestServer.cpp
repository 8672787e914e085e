#include "tests/fakes/TestServer.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <set>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn::tests {

TestServer::TestServer(Answer answer, bool drips) : m_answer(std::move(answer)), m_drips(drips) {
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const general = reinterpret_cast<struct sockaddr*>(&address);
    socklen_t length = sizeof address;
    if (m_socket < 0 || ::bind(m_socket, general, length) != 0 || ::listen(m_socket, 16) != 0 ||
        ::getsockname(m_socket, general, &length) != 0) {
        throw std::runtime_error("no server");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this]() { serve(); });
}

TestServer::~TestServer() {
    m_isOver = true;
    m_thread.join();
    ::close(m_socket);
}

std::string TestServer::url() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}

std::string TestServer::page(const std::string& mimeType, const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + mimeType +
           "\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nAccess-Control-Allow-Origin: *\r\nConnection: close\r\n\r\n" + body;
}

void TestServer::serve() {
    std::vector<pollfd> sockets = {{m_socket, POLLIN, 0}};
    std::set<int> dripping;
    while (!m_isOver) {
        constexpr int milliseconds = 20;
        ::poll(sockets.data(), sockets.size(), milliseconds);
        for (const int visitor : dripping) {
            static_cast<void>(::send(visitor, "/", 1, MSG_NOSIGNAL) > 0);
        }
        for (std::size_t i = sockets.size(); i-- > 1;) {
            if (sockets[i].revents == 0) {
                continue;
            }
            std::array<char, 4096> block{};
            const ssize_t got = ::read(sockets[i].fd, block.data(), block.size());
            const std::string answer =
                got > 0 ? m_answer(std::string(block.data(), static_cast<std::size_t>(got))) : "";
            if (!answer.empty()) {
                static_cast<void>(::write(sockets[i].fd, answer.data(), answer.size()) > 0);
            }
            if (m_drips && !answer.empty()) {
                dripping.insert(sockets[i].fd);
            } else if (got <= 0 || !answer.empty()) {
                dripping.erase(sockets[i].fd);
                ::close(sockets[i].fd);
                sockets.erase(sockets.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
        if (sockets.front().revents != 0) {
            const int visitor = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
            if (visitor >= 0) {
                ++m_visitors;
                sockets.push_back({visitor, POLLIN, 0});
            }
        }
    }
    for (std::size_t i = 1; i < sockets.size(); ++i) {
        ::close(sockets[i].fd);
    }
}

} // namespace quillorn::tests
