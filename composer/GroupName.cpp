#include "composer/GroupName.h"

#include "model/FileNames.h"

#include <algorithm>

namespace quillorn {

tl::expected<void, std::string> checkGroupName(const std::string& name,
                                               std::span<const std::string> existing) {
    if (std::find(existing.begin(), existing.end(), name) != existing.end()) {
        return tl::unexpected(messageText(group_message::alreadyExists, name));
    }
    if (!hasExtension(name, "pdf")) {
        return tl::unexpected(messageText(group_message::unsupportedFormat, name));
    }
    return {};
}

} // namespace quillorn
