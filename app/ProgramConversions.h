#pragma once

#include "import/DocumentConversions.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace quillorn {

/// The conversions that the program has: images. Every other file is refused with the reason.
class ProgramConversions final : public DocumentConversions {
public:
    /// `workerFolder` holds the programs that decode images.
    ProgramConversions(std::filesystem::path workerFolder, std::filesystem::path cacheFolder)
        : m_workerFolder(std::move(workerFolder)), m_cacheFolder(std::move(cacheFolder)) {}

    [[nodiscard]] ImportResult<std::string> image2PDF(const std::string& path,
                                                      const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> html2PDF(const std::string& path,
                                                     const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> rtf2PDF(const std::string& path,
                                                    const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> doc2PDF(const std::string& path,
                                                    const std::stop_token& stop) override;

private:
    std::filesystem::path m_workerFolder;
    std::filesystem::path m_cacheFolder;
};

} // namespace quillorn
