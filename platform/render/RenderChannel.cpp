#include "platform/render/RenderChannel.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/uio.h>
#include <utility>

namespace quillorn::render {

namespace {

/// Room for the control message that carries one descriptor.
union Control {
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
    cmsghdr alignment;
};

/// Takes the descriptors out of a message; all but the first are closed.
void takeDescriptors(msghdr& message, FileDescriptor& descriptor) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof(int), sizeof number);
            FileDescriptor taken(number);
            if (!descriptor.isOpen()) {
                descriptor = std::move(taken);
            }
        }
    }
}

} // namespace

bool sendPacket(const FileDescriptor& channel, std::span<const std::byte> packet, int descriptor) {
    iovec part{const_cast<std::byte*>(packet.data()), packet.size()};
    Control control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (descriptor >= 0) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    ssize_t sent = -1;
    do {
        sent = ::sendmsg(channel.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(packet.size());
}

Received receivePacket(const FileDescriptor& channel, std::span<std::byte> packet,
                       FileDescriptor& descriptor, bool mayWait) {
    iovec part{packet.data(), packet.size()};
    Control control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    const int flags = MSG_CMSG_CLOEXEC | (mayWait ? 0 : MSG_DONTWAIT);
    ssize_t got = -1;
    do {
        got = ::recvmsg(channel.get(), &message, flags);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK ? Received::nothing : Received::closed;
    }
    takeDescriptors(message, descriptor);
    const bool isWhole =
        got == static_cast<ssize_t>(packet.size()) && (message.msg_flags & MSG_TRUNC) == 0;
    return isWhole ? Received::packet : Received::closed;
}

} // namespace quillorn::render
