#include "platform/process/ChildCommand.h"

#include <algorithm>
#include <array>
#include <pwd.h>
#include <string_view>
#include <unistd.h>

namespace quillorn {

std::optional<ChildUser> ChildUser::withoutPrivileges() {
    constexpr uid_t usualNobody = 65534;
    if (::geteuid() != 0) {
        return std::nullopt;
    }
    const struct passwd* const nobody = ::getpwnam("nobody");
    return nobody != nullptr && nobody->pw_uid != 0 ? ChildUser{nobody->pw_uid, nobody->pw_gid}
                                                    : ChildUser{usualNobody, usualNobody};
}

std::map<std::string, std::string> inheritedVariables() {
    constexpr std::array<std::string_view, 4> names = {"PATH", "LANG", "LANGUAGE", "TZ"};
    std::map<std::string, std::string> variables;
    for (char** entry = ::environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view name = text.substr(0, equals);
        if (name.starts_with("LC_") || std::ranges::find(names, name) != names.end()) {
            variables.emplace(name, text.substr(equals + 1));
        }
    }
    return variables;
}

} // namespace quillorn
