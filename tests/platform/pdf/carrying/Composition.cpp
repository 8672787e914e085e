#include "tests/platform/pdf/carrying/Composition.h"

#include "platform/pdf/PDFVerifier.h"
#include "tests/corpus/IsolatedRun.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace quillorn::tests {

namespace {

/// Some ten times what the slowest of them takes. Memory is not limited under a sanitizer.
constexpr corpus::IsolationLimits writeLimits{80, std::uint64_t{2} << 30U,
                                              std::chrono::seconds(400)};

} // namespace

Composition::Source Composition::source(const std::string& fileName,
                                        const TestPDF& document) const {
    return open(document.writeTo(m_folder / fileName));
}

Composition::Source Composition::open(const std::filesystem::path& path) const {
    auto opened = PDFSource::open(path);
    if (!opened) {
        throw std::runtime_error("cannot open " + path.string() + ": " + opened.error().reason);
    }
    return std::move(*opened);
}

Composition& Composition::add(const Source& source, const std::vector<std::size_t>& pages,
                              int addedRotation) {
    if (pages.empty()) {
        for (std::size_t i = 0; i < source->pageCount(); ++i) {
            m_pages.push_back(PDFPageReference{source, i, addedRotation, {}});
        }
    }
    for (const std::size_t page : pages) {
        m_pages.push_back(PDFPageReference{source, page - 1, addedRotation, {}});
    }
    return *this;
}

Composition& Composition::addBlank() {
    m_pages.push_back(PDFPageReference{nullptr, 0, 0, {612, 792}});
    return *this;
}

Composition::Outcome Composition::written(const std::vector<PDFPageReference>& pages,
                                          const std::filesystem::path& target) const {
    auto written = writePDF(pages, target, m_options);
    if (!written) {
        throw std::runtime_error("cannot write: " + written.error().reason);
    }
    auto verified = verifyPDF(target, pages.size());
    if (!verified) {
        throw std::runtime_error("cannot verify: " + verified.error().reason);
    }
    return {std::move(*written), std::move(verified->problems)};
}

Composition::Outcome Composition::writtenWithinLimits(const std::vector<PDFPageReference>& pages,
                                                      const std::filesystem::path& target) const {
    const corpus::IsolatedRun run = corpus::runIsolated(
        [&]() {
            const Outcome outcome = written(pages, target);
            nlohmann::json answer{{"pages", outcome.report.pages},
                                  {"bytes", outcome.report.bytes},
                                  {"problems", outcome.problems},
                                  {"notes", nlohmann::json::array()}};
            for (const PDFCarryNote& note : outcome.report.notes) {
                answer["notes"].push_back({{"kind", static_cast<int>(note.kind)},
                                           {"file", note.file.string()},
                                           {"count", note.count},
                                           {"example", note.example}});
            }
            return answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        },
        writeLimits);
    if (!run.finished) {
        throw std::runtime_error("cannot write: " + run.report);
    }
    const auto answer = nlohmann::json::parse(run.report);
    Outcome outcome{{target, answer["pages"], answer["bytes"], {}}, answer["problems"]};
    for (const auto& note : answer["notes"]) {
        outcome.report.notes.push_back({static_cast<PDFCarryNote::Kind>(note["kind"].get<int>()),
                                        note["file"].get<std::string>(), note["count"],
                                        note["example"]});
    }
    return outcome;
}

std::filesystem::path Composition::writeUnchecked(const std::string& fileName) {
    const std::filesystem::path target = m_folder / fileName;
    const std::vector<PDFPageReference> pages = std::exchange(m_pages, {});
    Outcome outcome = m_limited ? writtenWithinLimits(pages, target) : written(pages, target);
    m_report = std::move(outcome.report);
    for (const std::string& problem : outcome.problems) {
        ADD_FAILURE() << problem;
    }
    return target;
}

std::filesystem::path Composition::writeChecked(const std::string& fileName) {
    const std::filesystem::path target = writeUnchecked(fileName);
    const ProgramRun check = runProgram({"qpdf", "--check", target.string()});
    EXPECT_EQ(check.status, 0) << check.output;
    return target;
}

WrittenPDF Composition::write(const std::string& fileName) {
    return WrittenPDF(writeChecked(fileName));
}

std::string Composition::notes() const {
    std::map<std::string, std::string> lines;
    for (const PDFCarryNote& note : m_report.notes) {
        const std::string name = carryNoteName(note.kind);
        std::string& line = lines[name];
        line += (line.empty() ? name + " " : " + ") + std::to_string(note.count);
        if (!note.example.empty()) {
            line += " (" + note.example + ")";
        }
    }
    std::string text;
    for (const auto& [name, line] : lines) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::vector<std::string> pageTexts(const std::filesystem::path& file) {
    const std::string all = outputOf({"pdftotext", "-q", file.string(), "-"});
    std::vector<std::string> pages;
    std::size_t start = 0;
    for (std::size_t end = all.find('\f'); end != std::string::npos; end = all.find('\f', start)) {
        std::string text = all.substr(start, end - start);
        text.erase(
            std::find_if(text.rbegin(), text.rend(), [](char ch) { return ch > ' '; }).base(),
            text.end());
        pages.push_back(std::move(text));
        start = end + 1;
    }
    return pages;
}

} // namespace quillorn::tests
