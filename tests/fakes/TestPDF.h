#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// A small PDF put together as text, independent of the code under test.
///
/// Page k (from 1) shows the line "Page k of NAME" in Helvetica on 612 x 792 points, so that a
/// test can tell which page stands where. The rest is added by need; entries are raw PDF syntax,
/// and objects may be referred to as "N 0 R" with the numbers that the functions here return.
/// Indexes count from 0 and must exist (std::out_of_range otherwise).
class TestPDF {
public:
    TestPDF(const std::string& name, std::size_t pageCount);

    /// Media box from the origin, in points.
    TestPDF& setPageSize(std::size_t index, double width, double height);
    /// Writes /Rotate, degrees clockwise.
    TestPDF& setRotation(std::size_t index, int degrees);
    /// Shows this instead of "Page k of NAME". ASCII without parentheses and backslashes.
    TestPDF& setText(std::size_t index, std::string text);
    /// One more entry of a page's dictionary, e.g. "/CropBox [0 0 10 10]".
    TestPDF& addPageEntry(std::size_t index, const std::string& entry);
    /// One more entry of the catalog, e.g. "/AcroForm 12 0 R".
    TestPDF& addCatalogEntry(const std::string& entry);
    /// One more entry of the trailer, e.g. "/Info 12 0 R".
    TestPDF& addTrailerEntry(const std::string& entry);
    /// An outline entry at the top level that leads to a page. ASCII like setText.
    TestPDF& addOutlineEntry(std::string title, std::size_t pageIndex);
    /// The /Nums array of the page labels, e.g. "0 << /S /r >> 4 << /S /D >>".
    TestPDF& setLabels(const std::string& nums);
    /// What the header says, e.g. "1.4"; "1.7" until set.
    TestPDF& setVersion(std::string version);
    /// Random-looking bytes (that do not compress) added to each page's content as a comment.
    TestPDF& padPages(std::size_t bytes);

    /// Adds an indirect object ("<< ... >>") and returns its number.
    std::size_t addObject(std::string body);
    /// The number that the next addObject() will return, for objects that refer to one another.
    [[nodiscard]] std::size_t nextObject() const;
    /// The number of a page's object.
    [[nodiscard]] std::size_t pageObject(std::size_t index) const;

    [[nodiscard]] std::string bytes() const;
    /// Writes the file and returns its path. Throws std::runtime_error on failure.
    std::filesystem::path writeTo(const std::filesystem::path& path) const;

private:
    struct Page {
        double width = 612;
        double height = 792;
        std::string text;
        std::string entries;
    };

    [[nodiscard]] std::string content(const Page& page, std::size_t index) const;

    std::string m_version = "1.7";
    std::vector<Page> m_pages;
    std::string m_catalogEntries;
    std::string m_trailerEntries;
    std::vector<std::pair<std::string, std::size_t>> m_outline;
    std::vector<std::string> m_extraObjects;
    std::size_t m_padding = 0;
};

/// "12 0 R"
[[nodiscard]] std::string referenceTo(std::size_t object);

/// What encryptPDF locks a file with. The words of `restrictions` are options of
/// `qpdf --encrypt` for 256 bits, e.g. {"--print=none", "--extract=n"}.
struct TestEncryption {
    std::string userPassword; ///< empty: everybody may open the file
    std::string ownerPassword = "owner";
    std::vector<std::string> restrictions;
};

/// Writes `plain` encrypted to `target` with the qpdf program, and returns `target`. Throws
/// std::runtime_error when that fails.
std::filesystem::path encryptPDF(const std::filesystem::path& plain,
                                 const std::filesystem::path& target,
                                 const TestEncryption& encryption);

} // namespace quillorn::tests
