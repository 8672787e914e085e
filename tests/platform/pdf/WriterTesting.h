#pragma once

#include "platform/pdf/PDFWriter.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {

/// Writes down what it is told, and may do something at each page.
class RecordingObserver : public PDFWriteObserver {
public:
    void documentBeginWrite(std::size_t pageCount) override {
        m_events.push_back("begin " + std::to_string(pageCount));
    }
    void documentEndPageWrite(std::size_t pageIndex) override {
        m_events.push_back("page " + std::to_string(pageIndex));
        if (m_atPage) {
            m_atPage(pageIndex);
        }
    }
    void documentEndWrite() override { m_events.emplace_back("end"); }

    void atPage(std::function<void(std::size_t)> action) { m_atPage = std::move(action); }
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }

private:
    std::vector<std::string> m_events;
    std::function<void(std::size_t)> m_atPage;
};

/// Sources, an output, and others' opinion of it.
class WriterTesting : public SourceTesting {
protected:
    using Texts = std::vector<std::string>;

    /// A source "Page k of NAME".
    Source source(const std::string& name, std::size_t pages) {
        return open(tests::TestPDF(name, pages).writeTo(m_folder / (name + ".pdf")));
    }

    static PDFPageReference pageOf(const Source& source, std::size_t index, int rotation = 0) {
        return PDFPageReference{source, index, rotation, {}};
    }
    static std::vector<PDFPageReference> firstPagesOf(const Source& source, std::size_t count) {
        std::vector<PDFPageReference> pages;
        for (std::size_t index = 0; index < count; ++index) {
            pages.push_back(pageOf(source, index));
        }
        return pages;
    }
    static std::vector<PDFPageReference> allPagesOf(const Source& source) {
        return firstPagesOf(source, source->pageCount());
    }

    /// Writes and expects success and a file that qpdf finds nothing wrong with.
    PDFWriteReport write(const std::vector<PDFPageReference>& pages,
                         const PDFWriteOptions& options = {}) {
        const auto report = writePDF(pages, m_output, options);
        EXPECT_TRUE(report.has_value()) << (report ? "" : report.error().reason);
        if (!report) {
            return {};
        }
        EXPECT_EQ(report->file, m_output);
        EXPECT_EQ(report->bytes, std::filesystem::file_size(m_output));
        expectSound(m_output);
        return *report;
    }
    static void expectSound(const std::filesystem::path& file) {
        EXPECT_EQ(tests::complaintsAbout(file), "");
    }
    /// Why writing fails.
    PDFError errorOfWriting(const std::vector<PDFPageReference>& pages,
                            const PDFWriteOptions& options = {}) {
        const auto report = writePDF(pages, m_output, options);
        if (report) {
            ADD_FAILURE() << "it was written";
            return PDFError{PDFError::Kind::cannotWrite, {}, "it was written"};
        }
        return report.error();
    }

    [[nodiscard]] Texts texts() const { return tests::pageTexts(m_output); }

    /// Everything in the output as text, with streams decoded and objects apart.
    std::string unpackedOutput() {
        const std::filesystem::path unpacked = m_folder / "unpacked.pdf";
        const tests::ProgramResult result =
            tests::Program(
                "qpdf", {"--qdf", "--object-streams=disable", m_output.string(), unpacked.string()})
                .run();
        EXPECT_EQ(result.status, 0) << result.errors;
        return tests::readFile(unpacked);
    }

    std::filesystem::path m_output = m_folder / "out.pdf";
};

} // namespace quillorn
