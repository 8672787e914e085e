#pragma once

#include "platform/process/ChildCommand.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What ChildProcess and its keeper tell each other. Both come from one build, so this may
/// change at will.
namespace quillorn::keeper {

inline constexpr std::string_view programName = "quillorn-keeper";

/// Descriptors of the keeper. The child's own pipes have their final numbers below these.
inline constexpr int lifelineNumber = 10;
inline constexpr int statusNumber = 11;
static_assert(ChildPipe::lastNumber < lifelineNumber);

/// A ChildCommand as the keeper needs it; its environment is the keeper's own.
struct Order {
    std::string workingFolder;
    ChildLimits limits;
    std::optional<ChildUser> user;
    bool network = true;
    std::size_t outputLimit = 0;
    std::vector<std::string> arguments;
};

/// The order as words of a command line, after the program's name.
[[nodiscard]] std::vector<std::string> toWords(const Order& order);
/// Nothing when the words are no order.
[[nodiscard]] std::optional<Order> fromWords(const std::vector<std::string>& words);

/// The keeper's first report: the child's process, or why there is none.
struct Started {
    int child = 0;      ///< 0 when it could not be started
    int errnoValue = 0; ///< why not
    char step[32] = {}; ///< what failed, as text
};

/// The last report, followed by the kept bytes of standard output and of standard error.
struct Ended {
    bool byUs = false; ///< the lifeline was cut before the child ended
    int waitStatus = 0;
    std::size_t outputBytes = 0;
    std::size_t errorBytes = 0;
    bool isOutputWhole = true;
    bool isErrorsWhole = true;
};

} // namespace quillorn::keeper
