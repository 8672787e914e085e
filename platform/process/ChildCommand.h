#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quillorn {

/// What a child process and each of its own children may use. Nothing stated: no limit of ours;
/// the one that this program sets to its own memory is not its children's.
struct ChildLimits {
    std::optional<std::uint64_t> dataBytes;  ///< memory of its own (RLIMIT_DATA)
    std::optional<std::uint64_t> cpuSeconds; ///< processor time; ends the process that exceeds it
    std::optional<std::uint64_t> fileBytes;  ///< size of a file that it writes
};

/// The user that foreign content is handled as.
struct ChildUser {
    uid_t user = 0;
    gid_t group = 0;

    /// "nobody" where this program runs as root; nothing elsewhere, for only root can change it.
    [[nodiscard]] static std::optional<ChildUser> withoutPrivileges();
};

/// A pipe between this program and a child.
struct ChildPipe {
    enum class Direction { toChild, fromChild };

    int number = 3; ///< the descriptor's number in the child: 0, or 3 to `lastNumber`
    Direction direction = Direction::toChild;

    static constexpr int lastNumber = 9;
};

/// A program to start, without a shell in between.
struct ChildCommand {
    std::vector<std::string> arguments; ///< the first is the program's absolute path
    /// Variables on top of the few that a child takes over from us (`inheritedVariables`).
    std::map<std::string, std::string> environment;
    std::filesystem::path workingFolder = "/";
    ChildLimits limits;
    std::optional<ChildUser> user = ChildUser::withoutPrivileges();
    /// Whether it may reach a network. Without, it gets an empty one of its own where the system
    /// lets us make one, which depends on its settings: one more wall, not the only one.
    bool network = true;
    std::vector<ChildPipe> pipes; ///< further descriptors; standard input is empty without one
    /// Of standard output and of standard error so many bytes are kept; the rest is read and
    /// dropped, so that a talkative child never has to wait for us.
    std::size_t outputLimit = std::size_t{64} << 10U;
};

/// The variables of our environment that a child sees: search path, language and time zone.
[[nodiscard]] std::map<std::string, std::string> inheritedVariables();

} // namespace quillorn
