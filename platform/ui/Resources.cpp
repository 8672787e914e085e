#include "platform/ui/Resources.h"

#include "platform/ui/ApplicationName.h"

#include <string>
#include <system_error>
#include <utility>

namespace quillorn {

Resources::Resources(std::vector<std::filesystem::path> folders) : m_folders(std::move(folders)) {}

Resources Resources::ofProgram() {
    std::error_code error;
    const std::filesystem::path folder =
        std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    return Resources({folder / "resources", folder / "../share" / applicationUnixName});
}

std::optional<std::filesystem::path> Resources::pathForResource(std::string_view name,
                                                                std::string_view type) const {
    std::string file(name);
    if (!type.empty()) {
        file.append(".").append(type);
    }
    for (const std::filesystem::path& folder : m_folders) {
        std::error_code error;
        if (std::filesystem::is_regular_file(folder / file, error)) {
            return folder / file;
        }
    }
    return std::nullopt;
}

} // namespace quillorn
