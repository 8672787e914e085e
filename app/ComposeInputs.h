#pragma once

#include "app/CommandLine.h"
#include "app/ComposeReport.h"
#include "app/FileConversions.h"
#include "composer/OutputGroup.h"
#include "import/FileRoute.h"
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
    std::vector<FileNotice> notices;     ///< about files that were converted
};

/// Opens the files of a `compose` request, each once however often it is named, and lists the
/// pages of every group. Checks all of them before anything is written.
class ComposeInputs {
public:
    /// Without conversions only PDFs are taken.
    explicit ComposeInputs(PDFIntake intake,
                           std::optional<FileConversions::Tools> conversions = std::nullopt)
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
    Source refuse(ImportRefusal refusal);

    PDFIntake m_intake;
    FileConversions m_conversions;
    std::stop_token m_stop;
    std::map<Key, Source> m_opened; ///< null for refused ones
    ComposePlan m_plan;
};

} // namespace quillorn
