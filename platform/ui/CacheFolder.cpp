#include "platform/ui/CacheFolder.h"

#include "platform/ui/ApplicationName.h"

#include <filesystem>
#include <system_error>

namespace quillorn {

std::string cacheFolder(const std::string& homeFolder) {
    return (homeFolder == "/" ? std::string() : homeFolder) + "/Library/Caches/" +
           std::string(applicationName);
}

void ensureCacheFolder(const std::string& folder) {
    std::error_code seenByTheNextWriter;
    std::filesystem::create_directories(folder, seenByTheNextWriter);
}

} // namespace quillorn
