#include "platform/ui/HomeFolder.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace quillorn {

std::string homeFolder() {
    if (const char* const stated = std::getenv("HOME"); stated != nullptr && *stated != '\0') {
        return stated;
    }
    const struct passwd* const user = ::getpwuid(::getuid());
    return user != nullptr && user->pw_dir != nullptr && *user->pw_dir != '\0' ? user->pw_dir : "/";
}

} // namespace quillorn
