#include "composer/OutputFolder.h"

#include "model/FileNames.h"
#include "platform/ui/ApplicationName.h"

#include <filesystem>
#include <system_error>

namespace quillorn {

std::string InitAppPath(const Preferences& preferences, const std::string& homeFolder) {
    std::string movies = joinedPath(homeFolder, "Movies");
    std::string folder = preferences.stringForKey(preference_key::saveFilePlace)
                             .value_or(joinedPath(movies, applicationName));
    std::error_code error;
    if (std::filesystem::exists(folder, error)) {
        return folder;
    }
    std::filesystem::create_directories(folder, error);
    return error ? movies : folder;
}

} // namespace quillorn
