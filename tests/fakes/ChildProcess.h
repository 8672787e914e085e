#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>

namespace quillorn::tests {

/// Runs `work` in a forked process and returns what it returned, so that a test may lower limits,
/// change users or ignore signals without harm to itself. Nothing is cleaned up in the child but
/// what `work` itself leaves behind its scope. An exception comes back as its text. Throws
/// std::runtime_error when the child dies of a signal.
[[nodiscard]] std::string inChild(const std::function<std::string()>& work);

/// The same with the rights of an ordinary user: where the test runs as root the child becomes
/// "nobody", elsewhere it stays who it is.
[[nodiscard]] std::string asOrdinaryUser(const std::function<std::string()>& work);

/// Makes the user of `asOrdinaryUser` the owner of a file or folder.
void giveToOrdinaryUser(const std::filesystem::path& path);

/// A forked process that comes to a certain point and stays there until it is killed.
class HeldChild {
public:
    using Hold = std::function<void()>;

    /// Returns once `work` has called its argument, which does not return. Throws
    /// std::runtime_error when `work` ends without.
    explicit HeldChild(const std::function<void(const Hold&)>& work);
    ~HeldChild();
    HeldChild(const HeldChild&) = delete;
    HeldChild& operator=(const HeldChild&) = delete;

    /// Ends the process as a crash would: at once, with nothing cleaned up.
    void kill();

private:
    pid_t m_pid = -1;
};

} // namespace quillorn::tests
