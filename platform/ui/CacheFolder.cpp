#include "platform/ui/CacheFolder.h"

#include "platform/ui/ApplicationName.h"

namespace quillorn {

std::string cacheFolder(const std::string& homeFolder) {
    return (homeFolder == "/" ? std::string() : homeFolder) + "/Library/Caches/" +
           std::string(applicationName);
}

} // namespace quillorn
