#pragma once

#include "tests/corpus/Corpus.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::corpus {

/// A page as another program sees it.
struct OutsidePage {
    std::string text;
    std::string boxes; ///< as the program prints them, without the page number
    int rotation = 0;  ///< degrees clockwise, 0 to 359
    bool operator==(const OutsidePage&) const = default;
};

/// A program that shows what a PDF holds without our help: Poppler's pdftotext and pdfinfo, or
/// MuPDF's mutool.
enum class OutsideReader { poppler, mupdf };
inline constexpr std::array outsideReaders{OutsideReader::poppler, OutsideReader::mupdf};

/// The pages of a file; empty when the reader cannot open it, shorter than the file where the
/// reader misses pages. Passwords are tried in turn.
[[nodiscard]] std::vector<OutsidePage> readPages(OutsideReader reader,
                                                 const std::filesystem::path& file,
                                                 const std::vector<KnownPassword>& passwords);

/// What `qpdf --check` says of a file: 0 sound, 3 sound with warnings, 2 errors.
struct Verdict {
    int exitStatus = -1;
    std::string text;

    [[nodiscard]] bool accepts() const { return exitStatus == 0 || exitStatus == 3; }
};
[[nodiscard]] Verdict checkWithQPDF(const std::filesystem::path& file,
                                    const std::vector<KnownPassword>& passwords = {});

/// The number of pages that qpdf finds by itself, opened with the password that fits; nothing
/// when it cannot tell.
[[nodiscard]] std::optional<std::size_t>
pageCountByQPDF(const std::filesystem::path& file,
                const std::vector<KnownPassword>& passwords = {});

/// Whether the document's form has its readers draw all fields anew (NeedAppearances), as qpdf
/// tells it.
[[nodiscard]] bool hasReadersDrawFields(const Document& document);

/// Has qpdf write the document with every page turned clockwise; false when it cannot.
[[nodiscard]] bool turnWithQPDF(const Document& document, int degrees,
                                const std::filesystem::path& turned);

/// What qpdf complains of when it reads all objects of a file and writes them again, content
/// aside; empty for a file that is in order. Misspelt names do not count.
[[nodiscard]] std::string complaintsOnRewriting(const std::filesystem::path& file);

} // namespace quillorn::corpus
