#include "tests/fakes/TestPDF.h"

#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <random>
#include <sstream>
#include <stdexcept>

namespace quillorn::tests {

namespace {

// The objects that every file has, by number; page k follows with two objects each.
constexpr std::size_t catalogObject = 1;
constexpr std::size_t pagesObject = 2;
constexpr std::size_t fontObject = 3;
constexpr std::size_t firstPageObject = 4;

std::string number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string noise(std::size_t bytes, std::size_t seed) {
    // The same bytes for the same page at every run, printable so that a comment may hold them.
    std::minstd_rand random(static_cast<unsigned>(seed) + 1);
    std::uniform_int_distribution<int> letter('!', '~');
    std::string text;
    text.reserve(bytes);
    while (text.size() < bytes) {
        text += static_cast<char>(letter(random));
    }
    return text;
}

} // namespace

std::string referenceTo(std::size_t object) {
    return std::to_string(object) + " 0 R";
}

TestPDF::TestPDF(const std::string& name, std::size_t pageCount) : m_pages(pageCount) {
    for (std::size_t i = 0; i < pageCount; ++i) {
        m_pages[i].text = "Page " + std::to_string(i + 1) + " of " + name;
    }
}

TestPDF& TestPDF::setPageSize(std::size_t index, double width, double height) {
    m_pages.at(index).width = width;
    m_pages.at(index).height = height;
    return *this;
}

TestPDF& TestPDF::setRotation(std::size_t index, int degrees) {
    return addPageEntry(index, "/Rotate " + std::to_string(degrees));
}

TestPDF& TestPDF::setText(std::size_t index, std::string text) {
    m_pages.at(index).text = std::move(text);
    return *this;
}

TestPDF& TestPDF::addPageEntry(std::size_t index, const std::string& entry) {
    m_pages.at(index).entries += " " + entry;
    return *this;
}

TestPDF& TestPDF::addCatalogEntry(const std::string& entry) {
    m_catalogEntries += " " + entry;
    return *this;
}

TestPDF& TestPDF::addTrailerEntry(const std::string& entry) {
    m_trailerEntries += " " + entry;
    return *this;
}

TestPDF& TestPDF::addOutlineEntry(std::string title, std::size_t pageIndex) {
    m_outline.emplace_back(std::move(title), pageObject(pageIndex));
    return *this;
}

TestPDF& TestPDF::setLabels(const std::string& nums) {
    return addCatalogEntry("/PageLabels << /Nums [" + nums + "] >>");
}

TestPDF& TestPDF::setVersion(std::string version) {
    m_version = std::move(version);
    return *this;
}

TestPDF& TestPDF::padPages(std::size_t bytes) {
    m_padding = bytes;
    return *this;
}

std::size_t TestPDF::addObject(std::string body) {
    m_extraObjects.push_back(std::move(body));
    return nextObject() - 1;
}

std::size_t TestPDF::nextObject() const {
    return firstPageObject + 2 * m_pages.size() + m_extraObjects.size();
}

std::size_t TestPDF::pageObject(std::size_t index) const {
    static_cast<void>(m_pages.at(index));
    return firstPageObject + 2 * index;
}

std::string TestPDF::content(const Page& page, std::size_t index) const {
    std::string stream =
        "BT /F1 24 Tf 72 " + number(page.height / 2) + " Td (" + page.text + ") Tj ET\n";
    if (m_padding > 0) {
        stream += "%" + noise(m_padding, index) + "\n";
    }
    return "<< /Length " + std::to_string(stream.size()) + " >>\nstream\n" + stream + "endstream";
}

std::string TestPDF::bytes() const {
    std::string catalogEntries = m_catalogEntries;
    std::vector<std::string> extraObjects = m_extraObjects;
    if (!m_outline.empty()) {
        const std::size_t root = firstPageObject + 2 * m_pages.size() + extraObjects.size();
        const std::size_t last = root + m_outline.size();
        catalogEntries += " /Outlines " + referenceTo(root);
        extraObjects.push_back("<< /Type /Outlines /First " + referenceTo(root + 1) + " /Last " +
                               referenceTo(last) + " /Count " + std::to_string(m_outline.size()) +
                               " >>");
        for (std::size_t i = 0; i < m_outline.size(); ++i) {
            const std::size_t own = root + 1 + i;
            extraObjects.push_back(
                "<< /Title (" + m_outline[i].first + ") /Parent " + referenceTo(root) + " /Dest [" +
                referenceTo(m_outline[i].second) + " /Fit]" +
                (i > 0 ? " /Prev " + referenceTo(own - 1) : std::string()) +
                (own < last ? " /Next " + referenceTo(own + 1) : std::string()) + " >>");
        }
    }

    std::vector<std::string> objects; // object number minus 1 is the index
    objects.push_back("<< /Type /Catalog /Pages " + referenceTo(pagesObject) + catalogEntries +
                      " >>");
    std::string kids;
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        kids += (i > 0 ? " " : "") + referenceTo(pageObject(i));
    }
    objects.push_back("<< /Type /Pages /Count " + std::to_string(m_pages.size()) + " /Kids [" +
                      kids + "] >>");
    objects.emplace_back("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica "
                         "/Encoding /WinAnsiEncoding >>");
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        const Page& page = m_pages[i];
        objects.push_back("<< /Type /Page /Parent " + referenceTo(pagesObject) +
                          " /MediaBox [0 0 " + number(page.width) + " " + number(page.height) +
                          "] /Resources << /Font << /F1 " + referenceTo(fontObject) +
                          " >> >> /Contents " + referenceTo(pageObject(i) + 1) + page.entries +
                          " >>");
        objects.push_back(content(page, i));
    }
    objects.insert(objects.end(), extraObjects.begin(), extraObjects.end());

    // The comment of high bytes marks the file as binary.
    std::string file = "%PDF-" + m_version + "\n%\xe2\xe3\xcf\xd3\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        std::string offset = std::to_string(file.size());
        offset.insert(0, 10 - offset.size(), '0');
        table += offset + " 00000 n \n";
        file += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::string start = std::to_string(file.size());
    const std::string size = std::to_string(objects.size() + 1);
    file += "xref\n0 " + size + "\n" + table + "trailer\n<< /Size " + size + " /Root " +
            referenceTo(catalogObject) + m_trailerEntries + " >>\nstartxref\n" + start +
            "\n%%EOF\n";
    return file;
}

std::filesystem::path TestPDF::writeTo(const std::filesystem::path& path) const {
    writeFile(path, bytes());
    return path;
}

std::filesystem::path encryptPDF(const std::filesystem::path& plain,
                                 const std::filesystem::path& target,
                                 const TestEncryption& encryption) {
    std::vector<std::string> words = {"--encrypt", encryption.userPassword,
                                      encryption.ownerPassword, "256"};
    words.insert(words.end(), encryption.restrictions.begin(), encryption.restrictions.end());
    words.insert(words.end(), {"--", plain.string(), target.string()});
    const ProgramResult result = Program("qpdf", words).run();
    if (result.status != 0) {
        throw std::runtime_error("qpdf could not encrypt " + plain.string() + ": " + result.errors);
    }
    return target;
}

} // namespace quillorn::tests
