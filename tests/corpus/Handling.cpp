#include "tests/corpus/Handling.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/corpus/IsolatedRun.h"
#include "tests/corpus/OpenedDocument.h"
#include "tests/corpus/OutsideView.h"
#include "tests/fakes/TemporaryFolder.h"

#include <charconv>
#include <fstream>
#include <string_view>
#include <vector>

namespace quillorn::corpus {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view composedMark = "composed ";
constexpr std::string_view refusedMark = "refused: ";

std::string refusal(const PDFError& error) {
    return std::string(refusedMark) + error.reason;
}

/// What the child does. Pages that cannot be read are no failure: they are refused one by one.
std::string handle(const Document& document, const fs::path& output) {
    const auto source = openDocument(document);
    if (!source) {
        return refusal(source.error());
    }
    if ((*source)->isLocked()) {
        return std::string(refusedMark) + "locked";
    }
    for (std::size_t i = 0; i < (*source)->pageCount(); ++i) {
        if (const auto geometry = (*source)->geometry(i); !geometry) {
            if (geometry.error().reason.empty()) {
                return "page " + std::to_string(i + 1) + " is refused without a message";
            }
        }
    }
    if (const auto labels = (*source)->labelRanges(); !labels && labels.error().reason.empty()) {
        return "the labels are refused without a message";
    }
    const PDFDocument input(*source);
    PDFDocument reversed;
    for (std::size_t i = 0; i < input.pageCount(); ++i) {
        reversed.insertPageAtIndex(input.pageAtIndex(input.pageCount() - 1 - i), i);
    }
    const auto written = reversed.writeToFile(output);
    return written ? std::string(composedMark) + std::to_string(written->pages)
                   : refusal(written.error());
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

std::string problemOf(const fs::path& output, std::size_t promisedPages) {
    const auto opened = PDFSource::open(output);
    if (!opened) {
        return "the output does not open: " + opened.error().reason;
    }
    if ((*opened)->pageCount() != promisedPages) {
        return std::to_string(promisedPages) + " pages promised, " +
               std::to_string((*opened)->pageCount()) + " pages in the output";
    }
    if (const auto pages = pageCountByQPDF(output); pages != promisedPages) {
        return std::to_string(promisedPages) + " pages promised, qpdf finds another number";
    }
    if (const std::string complaints = complaintsOnRewriting(output); !complaints.empty()) {
        return "qpdf complains of the output: " + complaints;
    }
    return {};
}

} // namespace

std::string misbehaviourWith(const Document& document) {
    const tests::TemporaryFolder folder;
    const fs::path output = folder.path() / "output.pdf";
    const IsolatedRun run = runIsolated([&] { return handle(document, output); });
    const std::string_view report(run.report);
    if (!run.finished) {
        return "the program failed: " + run.report;
    }
    const std::vector<std::string> names = namesIn(folder.path());
    if (report.starts_with(refusedMark)) {
        if (report.size() == refusedMark.size()) {
            return "refused without a message";
        }
        return names.empty() ? std::string() : run.report + ", but left " + names.front();
    }
    if (!report.starts_with(composedMark)) {
        return run.report;
    }
    if (names != std::vector{output.filename().string()}) {
        return run.report + ", but the folder does not hold just the output";
    }
    std::size_t pages = 0;
    std::from_chars(report.data() + composedMark.size(), report.data() + report.size(), pages);
    return problemOf(output, pages);
}

std::string misbehaviourWith(const std::string& bytes, const Document& like) {
    const tests::TemporaryFolder folder;
    Document document = like;
    document.file = folder.path() / "input.pdf";
    std::ofstream(document.file, std::ios::binary) << bytes;
    return misbehaviourWith(document);
}

} // namespace quillorn::corpus
