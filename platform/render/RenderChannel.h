#pragma once

#include "platform/files/FileDescriptor.h"

#include <cstddef>
#include <span>

namespace quillorn::render {

/// How a packet came in.
enum class Received { packet, nothing, closed };

/// Sends one packet, with a copy of `descriptor` when it is not -1. False when the other side is
/// gone, or when so much is under way that this would have to wait.
[[nodiscard]] bool sendPacket(const FileDescriptor& channel, std::span<const std::byte> packet,
                              int descriptor = -1);

/// Takes the next packet into `packet`, which it must fill exactly; one of another length counts
/// as closed, because whoever sends such is not to be listened to. A descriptor that came along is
/// put into `descriptor`. Waits only when `mayWait`.
[[nodiscard]] Received receivePacket(const FileDescriptor& channel, std::span<std::byte> packet,
                                     FileDescriptor& descriptor, bool mayWait);

} // namespace quillorn::render
