#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// What a later start of the program hands to the one that runs already.
struct HandedOver {
    std::vector<std::string> files; ///< absolute paths; none: just come to the front
    bool operator==(const HandedOver&) const = default;
};

/// The one running instance for each user and home folder, since its cache folder is in the home
/// folder and is emptied at the end.
///
/// A lock on a file in a private folder tells who that is, so that nothing is left over by a
/// program that died. The others talk to it through a socket beside the lock. No Qt: a second
/// start is over in a few milliseconds. Used by one thread.
class RunningInstance {
public:
    /// "XDG_RUNTIME_DIR", else a folder of the user's own in the system's temporary one.
    [[nodiscard]] static FileResult<std::filesystem::path> defaultFolder();

    /// Makes this process the running instance. Nothing when another one is.
    [[nodiscard]] static FileResult<std::optional<RunningInstance>>
    claim(const std::filesystem::path& folder, const std::string& homeFolder);

    /// Hands something to the running instance and waits, for some seconds at most, until it has
    /// taken it. The error's number is ETIMEDOUT when it is there and does not answer; with any
    /// other it may have ended, or be about to, so that claiming is worth another attempt.
    [[nodiscard]] static FileResult<void> handOver(const std::filesystem::path& folder,
                                                   const std::string& homeFolder,
                                                   const HandedOver& what);

    RunningInstance(RunningInstance&&) = default;
    RunningInstance& operator=(RunningInstance&&) = default;
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;
    ~RunningInstance();

    /// Readable when somebody hands something over.
    [[nodiscard]] int descriptor() const { return m_socket.get(); }
    /// Takes what was handed over. Nothing when it made no sense, or came from another user. Waits
    /// for a sender who is slow, but not long.
    [[nodiscard]] std::optional<HandedOver> accept();
    /// Takes nothing any more, while this process goes on being the running instance: for its end,
    /// which may take a moment. Whoever is not answered by then starts after it.
    void stopListening();

private:
    RunningInstance(FileDescriptor lock, FileDescriptor socket, std::filesystem::path socketFile);

    FileDescriptor m_lock;
    FileDescriptor m_socket;
    std::filesystem::path m_socketFile;
};

/// A message as it goes through the socket, and back. Reading refuses what is not one.
[[nodiscard]] std::string handedOverText(const HandedOver& what);
[[nodiscard]] std::optional<HandedOver> parseHandedOver(const std::string& text);

} // namespace quillorn
