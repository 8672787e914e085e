#include "app/ComposeInputs.h"

#include "app/TerminalText.h"
#include "import/FileRoute.h"
#include "model/FileNames.h"
#include "platform/pdf/PageRange.h"

#include <cstddef>
#include <filesystem>
#include <numeric>
#include <system_error>

namespace quillorn {

namespace {

using Kind = ImportRefusal::Kind;

bool isFolder(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

bool exists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

/// The pages of a document that a file's range names, counted from 0.
tl::expected<std::vector<std::size_t>, UsageError>
selectedPages(const std::string& path, const FileRequest& file, std::size_t pageCount, bool json) {
    if (!file.pages) {
        std::vector<std::size_t> all(pageCount);
        std::iota(all.begin(), all.end(), std::size_t{0});
        return all;
    }
    auto selected = parsePageRange(*file.pages, pageCount);
    if (selected && !selected->empty()) {
        return std::move(*selected);
    }
    return tl::unexpected(UsageError{
        "--pages " + *file.pages + " does not fit " + lastPathComponent(path) + ", which has " +
            counted(pageCount, "page") + ".",
        fullPath(path) + ": " + (selected ? "the page range selects no page" : selected.error()),
        HelpTopic::compose, json});
}

} // namespace

ComposePlan ComposeInputs::plan(const ComposeRequest& request, const std::stop_token& stop) {
    m_plan = {};
    m_stop = stop;
    for (const GroupRequest& requested : request.groups) {
        addGroup(requested, request.json);
    }
    m_conversions.endEngines(); // they need not wait for the writing
    return std::move(m_plan);
}

void ComposeInputs::addGroup(const GroupRequest& requested, bool json) {
    OutputGroup group{requested.name, std::make_unique<PDFDocument>()};
    bool accepted = false;
    for (const FileRequest& file : requested.files) {
        if (m_stop.stop_requested()) {
            return;
        }
        addFile(file, group, accepted, json);
    }
    m_plan.groups.push_back(std::move(group));
    m_plan.hasInputs.push_back(accepted);
}

void ComposeInputs::addFile(const FileRequest& file, OutputGroup& group, bool& accepted,
                            bool json) {
    std::vector<std::string> paths = {file.path};
    // Only a folder that is named like a document is one.
    if (isFolder(file.path) && dropRoute(file.path) == FileRoute::pdf) {
        auto entries = filesToOpen(file.path);
        if (!entries || entries->empty()) {
            if (m_opened.try_emplace(Key{file.path, file.password.text}, nullptr).second) {
                refuse(entries
                           ? ImportRefusal::make(Kind::notLegal, file.path, "the folder is empty")
                           : std::move(entries.error()));
            }
            return;
        }
        paths = std::move(*entries);
    }
    for (const std::string& path : paths) {
        const Source source = open(path, file);
        if (!source) {
            continue;
        }
        accepted = true;
        auto pages = selectedPages(path, file, source->pageCount(), json);
        if (!pages) {
            m_plan.usageErrors.push_back(std::move(pages.error()));
            continue;
        }
        for (const std::size_t index : *pages) {
            group.document->insertPageAtIndex(std::make_shared<PDFPage>(PDFPageReference{
                                                  source, index, file.rotation.value_or(0), {}}),
                                              group.document->pageCount());
        }
    }
}

ComposeInputs::Source ComposeInputs::open(const std::string& path, const FileRequest& file) {
    const auto [place, isNew] = m_opened.try_emplace(Key{path, file.password.text}, nullptr);
    if (!isNew) {
        return place->second;
    }
    // The entries of a folder are opened as they are, as PDFs.
    const FileRoute route =
        path == file.path && exists(path) ? commandLineRoute(path) : FileRoute::pdf;
    auto converted = m_conversions.pdfOf(path, route, m_stop);
    if (!converted) {
        return refuse(std::move(converted.error()));
    }
    for (std::string& notice : converted->notices) {
        m_plan.notices.push_back({path, std::move(notice)});
    }
    auto opened = m_intake.open(converted->pdf, file.password.text);
    if (!opened) {
        return refuse(std::move(opened.error()));
    }
    // A page count that the file merely states may be wrong, and no page may get lost.
    auto counted = (*opened)->source()->withCountedPages();
    if (!counted) {
        return refuse(ImportRefusal::make(Kind::notLegal, path, counted.error().reason));
    }
    place->second = std::move(*counted);
    return place->second;
}

ComposeInputs::Source ComposeInputs::refuse(ImportRefusal refusal) {
    m_plan.refused.push_back(std::move(refusal));
    return nullptr;
}

} // namespace quillorn
