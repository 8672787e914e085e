#include "platform/process/SpawnedKeeper.h"

#include "platform/files/BesideProgram.h"
#include "platform/process/KeeperProtocol.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <spawn.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

/// Both ends above the numbers that descriptors get in the keeper, so that arranging one there
/// never overwrites another.
constexpr int lowestOwnNumber = 64;

struct Ends {
    FileDescriptor ours;
    FileDescriptor theirs;
};

FileDescriptor raised(const FileDescriptor& low) {
    return FileDescriptor(::fcntl(low.get(), F_DUPFD_CLOEXEC, lowestOwnNumber));
}

std::optional<Ends> makePipe(ChildPipe::Direction direction) {
    std::array<int, 2> numbers{-1, -1};
    if (::pipe2(numbers.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    const FileDescriptor reading(numbers[0]);
    const FileDescriptor writing(numbers[1]);
    const bool toChild = direction == ChildPipe::Direction::toChild;
    Ends ends{raised(toChild ? writing : reading), raised(toChild ? reading : writing)};
    if (!ends.ours.isOpen() || !ends.theirs.isOpen() ||
        ::fcntl(ends.ours.get(), F_SETFL, O_NONBLOCK) != 0) {
        return std::nullopt;
    }
    return ends;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// What the keeper is started with: its descriptors, signals and process group.
class Arrangement {
public:
    Arrangement() {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);
    }
    ~Arrangement() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    Arrangement(const Arrangement&) = delete;
    Arrangement& operator=(const Arrangement&) = delete;

    /// Standard streams that lead nowhere, as few signals as possible from our terminal, and
    /// none that we ignore or block.
    bool prepare() {
        sigset_t all;
        sigset_t none;
        ::sigfillset(&all);
        ::sigemptyset(&none);
        const short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP;
        bool fine = ::posix_spawnattr_setflags(&m_attributes, flags) == 0 &&
                    ::posix_spawnattr_setsigdefault(&m_attributes, &all) == 0 &&
                    ::posix_spawnattr_setsigmask(&m_attributes, &none) == 0 &&
                    ::posix_spawnattr_setpgroup(&m_attributes, 0) == 0;
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            fine = fine && ::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null",
                                                              O_RDWR, 0) == 0;
        }
        // What we hold open there is none of the child's business.
        for (int number = STDERR_FILENO + 1; number <= ChildPipe::lastNumber; ++number) {
            fine = fine && ::posix_spawn_file_actions_addclose(&m_actions, number) == 0;
        }
        return fine;
    }

    bool place(const FileDescriptor& descriptor, int number) {
        return ::posix_spawn_file_actions_adddup2(&m_actions, descriptor.get(), number) == 0;
    }

    /// Returns the process, or an error number below 0.
    int spawn(const std::string& program, std::vector<std::string> words,
              std::vector<std::string> environment) {
        pid_t process = -1;
        const int error = ::posix_spawn(&process, program.c_str(), &m_actions, &m_attributes,
                                        pointersTo(words).data(), pointersTo(environment).data());
        return error == 0 ? process : -error;
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

std::vector<std::string> environmentOf(const ChildCommand& command) {
    std::map<std::string, std::string> variables = inheritedVariables();
    for (const auto& [name, value] : command.environment) {
        variables[name] = value;
    }
    std::vector<std::string> environment;
    environment.reserve(variables.size());
    for (const auto& [name, value] : variables) {
        environment.push_back(name);
        environment.back().append("=").append(value);
    }
    return environment;
}

bool isAllowed(const ChildPipe& pipe) {
    return pipe.number == STDIN_FILENO
               ? pipe.direction == ChildPipe::Direction::toChild
               : pipe.number > STDERR_FILENO && pipe.number <= ChildPipe::lastNumber;
}

} // namespace

FileResult<SpawnedKeeper> spawnKeeper(const ChildCommand& command) {
    const std::string program = besideProgram(keeper::programName).string();
    const auto failed = [&program](int error) {
        return tl::unexpected(FileError::fromErrno(program, error));
    };
    if (command.arguments.empty() || !std::filesystem::path(command.arguments[0]).is_absolute()) {
        return tl::unexpected(
            FileError{command.arguments.empty() ? std::string() : command.arguments[0],
                      "a program is started by its absolute path", EINVAL});
    }
    Arrangement arrangement;
    SpawnedKeeper spawned;
    std::vector<FileDescriptor> theirs;
    auto lifeline = makePipe(ChildPipe::Direction::toChild);
    auto status = makePipe(ChildPipe::Direction::fromChild);
    if (!arrangement.prepare() || !lifeline || !status ||
        !arrangement.place(lifeline->theirs, keeper::lifelineNumber) ||
        !arrangement.place(status->theirs, keeper::statusNumber)) {
        return failed(errno);
    }
    for (const ChildPipe& pipe : command.pipes) {
        auto ends = isAllowed(pipe) ? makePipe(pipe.direction) : std::nullopt;
        if (!ends || !arrangement.place(ends->theirs, pipe.number)) {
            return failed(isAllowed(pipe) ? errno : EINVAL);
        }
        spawned.pipes.insert_or_assign(pipe.number, std::move(ends->ours));
        theirs.push_back(std::move(ends->theirs));
    }
    std::vector<std::string> words =
        keeper::toWords({command.workingFolder, command.limits, command.user, command.network,
                         command.outputLimit, command.arguments});
    words.insert(words.begin(), program);
    const int process = arrangement.spawn(program, std::move(words), environmentOf(command));
    if (process < 0) {
        return failed(-process);
    }
    spawned.process = process;
    spawned.lifeline = std::move(lifeline->ours);
    spawned.status = std::move(status->ours);
    return spawned;
}

} // namespace quillorn
