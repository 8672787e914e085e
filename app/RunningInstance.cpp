#include "app/RunningInstance.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::string_view greeting = "quillorn-folivane 1\n";
constexpr std::string_view answer = "taken\n";
constexpr std::size_t largestMessage = std::size_t{4} << 20U; // bytes
constexpr milliseconds senderPatience{5000};
constexpr milliseconds startPatience{500}; // with one that has its lock, but not yet its socket
constexpr milliseconds receiverPatience{1000};
constexpr milliseconds retryAfter{20};

/// The same for the same folder in every run; no more than that is asked of it.
std::string nameFor(const std::string& homeFolder) {
    std::uint64_t hash = 14695981039346656037U; // FNV-1a
    for (const char byte : homeFolder) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return std::string("quillorn-folivane-") + digits.data();
}

FileResult<sockaddr_un> addressOf(const std::filesystem::path& file) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& path = file.native();
    if (path.size() >= sizeof address.sun_path) {
        return tl::unexpected(FileError{file, "the path is too long for a socket", 0});
    }
    std::ranges::copy(path, std::begin(address.sun_path));
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

/// Whether something can be read or written before the deadline.
bool waitFor(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        pollfd entry{descriptor, events, 0};
        const int count = ::poll(&entry, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (count > 0) {
            return true;
        }
        if (count == 0 || errno != EINTR) {
            return false;
        }
    }
}

bool sendAll(int descriptor, std::string_view data, Clock::time_point deadline) {
    while (!data.empty()) {
        const ssize_t sent =
            ::send(descriptor, data.data(), data.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            data.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EINTR && (errno != EAGAIN || !waitFor(descriptor, POLLOUT, deadline))) {
            return false;
        }
    }
    return true;
}

/// Connects a socket that does not block. A program that stands still takes no connections, so
/// that its queue of them fills up.
bool connectTo(int descriptor, const sockaddr_un& address, Clock::time_point deadline) {
    while (::connect(descriptor, generic(address), sizeof address) != 0) {
        if (errno != EINTR && errno != EAGAIN) {
            return false;
        }
        if (Clock::now() >= deadline) {
            errno = ETIMEDOUT;
            return false;
        }
        std::this_thread::sleep_for(retryAfter); // nothing tells when there is room
    }
    return true;
}

/// Everything up to the sender's end. Nothing when that does not come, or too much does.
std::optional<std::string> receiveAll(int descriptor, Clock::time_point deadline) {
    std::string text;
    std::array<char, 4096> buffer{};
    while (text.size() <= largestMessage && waitFor(descriptor, POLLIN, deadline)) {
        const ssize_t count = ::recv(descriptor, buffer.data(), buffer.size(), 0);
        if (count == 0) {
            return text;
        }
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR && errno != EAGAIN) {
            break;
        }
    }
    return std::nullopt;
}

bool isOwnPrivateFolder(const std::filesystem::path& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// One attempt. The error's number tells whether another one makes sense.
FileResult<void> handOverOnce(const std::filesystem::path& file, const std::string& message,
                              Clock::time_point deadline) {
    const auto address = addressOf(file);
    if (!address) {
        return tl::unexpected(address.error());
    }
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen()) {
        return tl::unexpected(FileError::fromErrno(file, errno, "cannot be reached"));
    }
    const FileError silence{file, "the running program does not answer", ETIMEDOUT};
    if (!connectTo(socket.get(), *address, deadline)) {
        if (errno == ETIMEDOUT) {
            return tl::unexpected(silence);
        }
        return tl::unexpected(
            FileError::fromErrno(file, errno, "cannot reach the running program"));
    }
    const bool isSent =
        sendAll(socket.get(), message, deadline) && ::shutdown(socket.get(), SHUT_WR) == 0;
    const auto received = isSent ? receiveAll(socket.get(), deadline) : std::nullopt;
    if (received == answer) {
        return {};
    }
    if (Clock::now() >= deadline) {
        return tl::unexpected(silence);
    }
    return tl::unexpected(
        FileError{file, "the running program ended before it answered", ECONNRESET});
}

} // namespace

FileResult<std::filesystem::path> RunningInstance::defaultFolder() {
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime == '/' && isOwnPrivateFolder(runtime)) {
        return std::filesystem::path(runtime);
    }
    const std::filesystem::path folder =
        "/tmp/quillorn-folivane-" + std::to_string(static_cast<unsigned long>(::geteuid()));
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        return tl::unexpected(FileError::fromErrno(folder, errno, "cannot be made"));
    }
    if (!isOwnPrivateFolder(folder)) {
        return tl::unexpected(FileError{folder, "belongs to somebody else", 0});
    }
    return folder;
}

RunningInstance::RunningInstance(FileDescriptor lock, FileDescriptor socket,
                                 std::filesystem::path socketFile)
    : m_lock(std::move(lock)), m_socket(std::move(socket)), m_socketFile(std::move(socketFile)) {}

RunningInstance::~RunningInstance() {
    stopListening();
}

void RunningInstance::stopListening() {
    if (m_socket.isOpen()) {
        // While the lock is held; the next instance makes its own.
        ::unlink(m_socketFile.c_str());
        m_socket = FileDescriptor();
    }
}

FileResult<std::optional<RunningInstance>>
RunningInstance::claim(const std::filesystem::path& folder, const std::string& homeFolder) {
    const std::filesystem::path lockFile = folder / (nameFor(homeFolder) + ".lock");
    FileDescriptor lock(
        ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!lock.isOpen()) {
        return tl::unexpected(FileError::fromErrno(lockFile, errno, "cannot be opened"));
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return std::optional<RunningInstance>();
        }
        return tl::unexpected(FileError::fromErrno(lockFile, errno, "cannot be locked"));
    }
    const std::filesystem::path socketFile = folder / (nameFor(homeFolder) + ".socket");
    const auto address = addressOf(socketFile);
    if (!address) {
        return tl::unexpected(address.error());
    }
    ::unlink(socketFile.c_str()); // of a run that died
    constexpr int waiting = 16;
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen() || ::bind(socket.get(), generic(*address), sizeof *address) != 0 ||
        ::chmod(socketFile.c_str(), S_IRUSR | S_IWUSR) != 0 ||
        ::listen(socket.get(), waiting) != 0) {
        return tl::unexpected(FileError::fromErrno(socketFile, errno, "cannot be used"));
    }
    return std::optional(RunningInstance(std::move(lock), std::move(socket), socketFile));
}

FileResult<void> RunningInstance::handOver(const std::filesystem::path& folder,
                                           const std::string& homeFolder, const HandedOver& what) {
    const std::filesystem::path file = folder / (nameFor(homeFolder) + ".socket");
    const std::string message = handedOverText(what);
    const auto begin = Clock::now();
    for (;;) {
        auto done = handOverOnce(file, message, begin + senderPatience);
        const bool hasNoSocket =
            !done && (done.error().errnoValue == ENOENT || done.error().errnoValue == ECONNREFUSED);
        if (!hasNoSocket || Clock::now() >= begin + startPatience) {
            return done;
        }
        std::this_thread::sleep_for(retryAfter);
    }
}

std::optional<HandedOver> RunningInstance::accept() {
    const FileDescriptor peer(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!peer.isOpen()) {
        return std::nullopt;
    }
    ucred sender{};
    socklen_t length = sizeof sender;
    if (::getsockopt(peer.get(), SOL_SOCKET, SO_PEERCRED, &sender, &length) != 0 ||
        sender.uid != ::geteuid()) {
        return std::nullopt;
    }
    const auto deadline = Clock::now() + receiverPatience;
    const auto text = receiveAll(peer.get(), deadline);
    auto what = text ? parseHandedOver(*text) : std::nullopt;
    if (what && !sendAll(peer.get(), answer, deadline)) {
        return std::nullopt; // the sender gave up, and says so
    }
    return what;
}

std::string handedOverText(const HandedOver& what) {
    std::string text(greeting);
    for (const std::string& file : what.files) {
        text.append(file).push_back('\0');
    }
    return text;
}

std::optional<HandedOver> parseHandedOver(const std::string& text) {
    if (!text.starts_with(greeting) || (text.size() > greeting.size() && text.back() != '\0')) {
        return std::nullopt;
    }
    HandedOver what;
    for (std::size_t at = greeting.size(); at < text.size();) {
        const std::size_t end = text.find('\0', at);
        std::string file = text.substr(at, end - at);
        if (!file.starts_with('/')) {
            return std::nullopt;
        }
        what.files.push_back(std::move(file));
        at = end + 1;
    }
    return what;
}

} // namespace quillorn
