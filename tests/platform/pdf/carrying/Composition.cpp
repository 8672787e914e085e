#include "tests/platform/pdf/carrying/Composition.h"

#include "platform/pdf/PDFVerifier.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace quillorn::tests {

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

std::filesystem::path Composition::writeUnchecked(const std::string& fileName) {
    const std::filesystem::path target = m_folder / fileName;
    const std::vector<PDFPageReference> pages = std::exchange(m_pages, {});
    auto written = writePDF(pages, target, m_options);
    if (!written) {
        throw std::runtime_error("cannot write: " + written.error().reason);
    }
    m_report = std::move(*written);
    const auto verified = verifyPDF(target, pages.size());
    if (!verified) {
        throw std::runtime_error("cannot verify: " + verified.error().reason);
    }
    for (const std::string& problem : verified->problems) {
        ADD_FAILURE() << problem;
    }
    return target;
}

WrittenPDF Composition::write(const std::string& fileName) {
    const std::filesystem::path target = writeUnchecked(fileName);
    const ProgramRun check = runProgram({"qpdf", "--check", target.string()});
    EXPECT_EQ(check.status, 0) << check.output;
    return WrittenPDF(target);
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

std::string referenceTo(std::size_t object) {
    return std::to_string(object) + " 0 R";
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
