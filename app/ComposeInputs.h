#pragma once

#include "app/CommandLine.h"
#include "composer/OutputGroup.h"
#include "import/FileRoute.h"
#include "import/HTMLConverter.h"
#include "import/ImageConverter.h"
#include "import/PDFIntake.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

/// The groups of a `compose` request with their pages, and what stood in the way.
struct ComposePlan {
    std::vector<OutputGroup> groups; ///< as requested; without pages where all files were refused
    std::vector<bool> hasInputs;     ///< for each group, whether one of its files was accepted
    std::vector<ImportRefusal> refused;  ///< each file once
    std::vector<UsageError> usageErrors; ///< page ranges that do not fit their files
};

/// What turns files that are no PDF into one.
struct ComposeConversions {
    ImageReader images;
    std::filesystem::path folder; ///< exists, is our own, and holds what was converted
    /// Opens the converter of web pages; called when the first one is met.
    std::function<FileResult<std::unique_ptr<HTMLConverter>>()> openHTMLConverter;
};

/// Opens the files of a `compose` request, each once however often it is named, and lists the
/// pages of every group. Checks all of them before anything is written.
class ComposeInputs {
public:
    /// Without conversions only PDFs are taken.
    explicit ComposeInputs(PDFIntake intake,
                           std::optional<ComposeConversions> conversions = std::nullopt)
        : m_intake(std::move(intake)), m_conversions(std::move(conversions)) {}

    /// Passwords are given as text (PasswordFiles.h). Ends early when `stop` is requested.
    [[nodiscard]] ComposePlan plan(const ComposeRequest& request, const std::stop_token& stop);

private:
    using Source = std::shared_ptr<const PDFSource>;
    using Key = std::pair<std::string, std::optional<std::string>>; ///< path and password

    /// Leaves the group out when a stop is requested.
    void addGroup(const GroupRequest& requested, bool json);
    void addFile(const FileRequest& file, OutputGroup& group, bool& accepted, bool json);
    /// The source at `path`; null when it was refused, which is noted the first time.
    Source open(const std::string& path, const FileRequest& file);
    /// The path of the PDF that a file becomes on its route, which may be the file itself.
    ImportResult<std::string> pdfOf(const std::string& path, FileRoute route);
    ImportResult<std::string> convertImage(const std::string& path);
    ImportResult<std::string> convertWebPage(const std::string& path);
    Source refuse(ImportRefusal refusal);

    PDFIntake m_intake;
    std::optional<ComposeConversions> m_conversions;
    std::size_t m_conversionCount = 0;
    std::unique_ptr<HTMLConverter> m_htmlConverter; ///< null before the first web page
    std::stop_token m_stop;
    std::map<Key, Source> m_opened; ///< null for refused ones
    ComposePlan m_plan;
};

} // namespace quillorn
