#pragma once

#include "platform/pdf/PDFSource.h"
#include "platform/pdf/PDFWriter.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/carrying/WrittenPDF.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// Pages of test documents put together and written the way the program does it. Every output
/// is checked by `qpdf --check` and by the program's own verification; a complaint of either is
/// a failure of the test.
class Composition {
public:
    using Source = std::shared_ptr<const PDFSource>;

    /// Writes a document into the test's folder and opens it.
    [[nodiscard]] Source source(const std::string& fileName, const TestPDF& document) const;
    [[nodiscard]] Source open(const std::filesystem::path& path) const;

    /// Adds pages of `source`, numbered from 1, behind those that are there; none named: all.
    Composition& add(const Source& source, const std::vector<std::size_t>& pages = {},
                     int addedRotation = 0);
    Composition& addBlank();

    /// Writes what was added and forgets it.
    [[nodiscard]] WrittenPDF write(const std::string& fileName = "out.pdf");
    /// The same without reading the file for the test.
    std::filesystem::path writeChecked(const std::string& fileName = "out.pdf");
    /// The same for sources that make the other program complain: only our own verification.
    [[nodiscard]] std::filesystem::path writeUnchecked(const std::string& fileName = "out.pdf");

    /// From now on each write happens in a process of its own, with so much time and memory as a
    /// document that was made to waste both may cost; more fails the test.
    void limitWrites() { m_limited = true; }

    [[nodiscard]] PDFWriteOptions& options() { return m_options; }
    /// Of the last write: "link-removed 2; outline-entry-dropped 1 (Title)", by name.
    [[nodiscard]] std::string notes() const;
    [[nodiscard]] const PDFWriteReport& report() const { return m_report; }
    [[nodiscard]] const TemporaryFolder& folder() const { return m_folder; }

private:
    /// What a write and its verification tell.
    struct Outcome {
        PDFWriteReport report;
        std::vector<std::string> problems;
    };
    [[nodiscard]] Outcome written(const std::vector<PDFPageReference>& pages,
                                  const std::filesystem::path& target) const;
    [[nodiscard]] Outcome writtenWithinLimits(const std::vector<PDFPageReference>& pages,
                                              const std::filesystem::path& target) const;

    bool m_limited = false;
    TemporaryFolder m_folder;
    std::vector<PDFPageReference> m_pages;
    PDFWriteOptions m_options;
    PDFWriteReport m_report;
};

/// The text of the pages of a PDF, one after the other, as pdftotext reads them.
[[nodiscard]] std::vector<std::string> pageTexts(const std::filesystem::path& file);

} // namespace quillorn::tests
