#pragma once

#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFSource.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace quillorn {

/// A folder for files to be opened as sources.
class SourceTesting : public testing::Test {
protected:
    using Source = std::shared_ptr<const PDFSource>;

    /// Opens a file that must open; a failure of the test and null otherwise.
    static Source open(const std::filesystem::path& path) {
        auto source = PDFSource::open(path);
        if (!source) {
            ADD_FAILURE() << path << ": " << source.error().reason;
            return nullptr;
        }
        return *source;
    }
    Source open(const tests::RawPDF& pdf) { return open(pdf.writeTo(m_folder / "in.pdf")); }
    Source openBytes(const std::string& bytes) {
        tests::writeFile(m_folder / "in.pdf", bytes);
        return open(m_folder / "in.pdf");
    }

    /// Why a file does not open.
    static PDFError errorOf(const std::filesystem::path& path) {
        auto source = PDFSource::open(path);
        if (source) {
            ADD_FAILURE() << path << " opened";
            return PDFError{PDFError::Kind::cancelled, path, "it opened"};
        }
        return source.error();
    }
    PDFError errorOfBytes(const std::string& bytes) {
        tests::writeFile(m_folder / "in.pdf", bytes);
        return errorOf(m_folder / "in.pdf");
    }

    /// The number of pages, counted.
    static std::size_t countedPages(const Source& source) {
        const auto counted = source->withCountedPages();
        EXPECT_TRUE(counted.has_value()) << (counted ? "" : counted.error().reason);
        return counted ? (*counted)->pageCount() : 0;
    }

    /// Width of a page's media box, by which the tests here tell pages apart; -1 when the page
    /// cannot be read.
    static double widthOf(const Source& source, std::size_t page) {
        const auto geometry = source->geometry(page);
        return geometry ? geometry->mediaBox.width() : -1;
    }

    tests::TemporaryFolder m_folder;
};

/// A page object that is as wide as told.
inline std::string pageBody(int parent, int width, const std::string& entries = {}) {
    return "<< /Type /Page /Parent " + std::to_string(parent) + " 0 R /MediaBox [0 0 " +
           std::to_string(width) + " 100] " + entries + " >>";
}

inline std::string nodeBody(const std::string& kids, int count, const std::string& entries = {}) {
    return "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(count) + " " + entries +
           " >>";
}

inline const std::string catalogBody = "<< /Type /Catalog /Pages 2 0 R >>";

} // namespace quillorn
