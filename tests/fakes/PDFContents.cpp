#include "tests/fakes/PDFContents.h"

#include "tests/fakes/Program.h"

#include <cstddef>
#include <sstream>
#include <stdexcept>

namespace quillorn::tests {

namespace {

std::string outputOf(const std::string& program, std::vector<std::string> arguments,
                     const std::filesystem::path& file) {
    ProgramResult result = Program(program, std::move(arguments)).run();
    if (result.status != 0) {
        throw std::runtime_error(program + " cannot read " + file.string() + ": " + result.errors);
    }
    return std::move(result.output);
}

std::string trimmed(const std::string& text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

std::vector<std::string> pageTexts(const std::filesystem::path& file) {
    std::istringstream text(outputOf("pdftotext", {file.string(), "-"}, file));
    std::vector<std::string> pages;
    std::string page;
    while (std::getline(text, page, '\f')) {
        pages.push_back(trimmed(page));
    }
    return pages; // each page ends with a form feed
}

std::vector<int> pageRotations(const std::filesystem::path& file) {
    std::istringstream lines(outputOf("pdfinfo", {"-f", "1", "-l", "-1", file.string()}, file));
    std::vector<int> rotations;
    std::string line;
    while (std::getline(lines, line)) {
        // "Page    1 rot:  90"; a document of one page is told about like any other.
        const std::size_t mark = line.find(" rot:");
        if (line.starts_with("Page") && mark != std::string::npos) {
            rotations.push_back(std::stoi(line.substr(line.find(':') + 1)));
        }
    }
    return rotations;
}

std::string complaintsAbout(const std::filesystem::path& file) {
    const ProgramResult result = Program("qpdf", {"--check", file.string()}).run();
    return result.status == 0 ? std::string() : result.output + result.errors;
}

} // namespace quillorn::tests
