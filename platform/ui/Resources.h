#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace quillorn {

/// Finds the files that come with the program.
class Resources {
public:
    /// Looks through `folders` in this order.
    explicit Resources(std::vector<std::filesystem::path> folders);

    /// Those of the running program: "resources" beside it, else
    /// "../share/quillorn-folivane" where it is installed.
    [[nodiscard]] static Resources ofProgram();

    /// The file `name`.`type`, or none. An empty type adds no dot.
    [[nodiscard]] std::optional<std::filesystem::path> pathForResource(std::string_view name,
                                                                       std::string_view type) const;

private:
    std::vector<std::filesystem::path> m_folders;
};

} // namespace quillorn
