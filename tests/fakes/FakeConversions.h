#pragma once

#include "import/DocumentConversions.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// Converters that write a small PDF into a folder, under the name that the real ones would use.
/// Any thread.
class FakeConversions final : public DocumentConversions {
public:
    explicit FakeConversions(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    ImportResult<std::string> image2PDF(const std::string& path,
                                        const std::stop_token& stop) override;
    ImportResult<std::string> html2PDF(const std::string& path,
                                       const std::stop_token& stop) override;
    ImportResult<std::string> rtf2PDF(const std::string& path,
                                      const std::stop_token& stop) override;
    ImportResult<std::string> doc2PDF(const std::string& path,
                                      const std::stop_token& stop) override;

    /// The conversion of files with this name is refused.
    void refuse(const std::string& name, ImportRefusal::Kind kind, const std::string& reason);

    /// "image2PDF a.png" for each conversion.
    [[nodiscard]] std::vector<std::string> calls() const;
    std::function<void()> m_during; ///< runs within each conversion
    std::function<void()> m_after;  ///< runs once the PDF of a conversion stands there
    /// How many pages a file's PDF gets; one without it.
    std::function<std::size_t(const std::string& path)> m_pages;

private:
    ImportResult<std::string> convert(const std::string& how, const std::string& path,
                                      const std::stop_token& stop, const std::string& target);

    std::filesystem::path m_folder;
    std::map<std::string, std::pair<ImportRefusal::Kind, std::string>> m_refusals;
    mutable std::mutex m_mutex; ///< guards m_calls
    std::vector<std::string> m_calls;
};

} // namespace quillorn::tests
