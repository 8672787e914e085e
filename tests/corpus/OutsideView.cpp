#include "tests/corpus/OutsideView.h"

#include "tests/corpus/OutsideProgram.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <utility>

namespace quillorn::corpus {

namespace {

using Words = std::vector<std::string>;

/// Every way of opening a file: without a password first.
std::vector<Words> passwordOptions(OutsideReader reader,
                                   const std::vector<KnownPassword>& passwords) {
    std::vector<Words> ways{{}};
    for (const KnownPassword& password : passwords) {
        if (reader == OutsideReader::mupdf) {
            ways.push_back({"-p", password.text});
            continue;
        }
        if (password.kind != KnownPassword::Kind::owner) {
            ways.push_back({"-upw", password.text});
        }
        if (password.kind != KnownPassword::Kind::user) {
            ways.push_back({"-opw", password.text});
        }
    }
    return ways;
}

Words joined(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

int normalised(int degrees) {
    return (degrees % 360 + 360) % 360;
}

/// Both programs end each page with a form feed, mutool with a line end after it.
std::vector<OutsidePage> pagesFromText(const std::string& text) {
    std::vector<OutsidePage> pages;
    std::size_t start = 0;
    for (std::size_t end = text.find('\f'); end != std::string::npos;
         end = text.find('\f', start)) {
        pages.push_back({text.substr(start, end - start), {}, 0});
        start = end + 1;
        if (text.compare(start, 1, "\n") == 0) {
            ++start;
        }
    }
    return pages;
}

/// Lines like "Page    1 MediaBox:  0.00 ..." and "Page    1 rot:   90".
void addPopplerBoxes(const std::string& info, std::vector<OutsidePage>& pages) {
    std::istringstream in(info);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string first;
        std::size_t number = 0;
        std::string what;
        if (!(words >> first >> number >> what) || first != "Page" || number == 0 ||
            number > pages.size()) {
            continue;
        }
        OutsidePage& page = pages[number - 1];
        if (what == "rot:") {
            words >> page.rotation;
            page.rotation = normalised(page.rotation);
        } else if (what.ends_with("Box:")) {
            page.boxes += line.substr(line.find(what)) + "\n";
        }
    }
}

/// Elements like <page pagenum="1">, <MediaBox l="0" .../>, <Rotate v="90" />, one a line.
void addMuPDFBoxes(const std::string& info, std::vector<OutsidePage>& pages) {
    std::istringstream in(info);
    OutsidePage* page = nullptr;
    constexpr std::string_view pageMark = "<page pagenum=\"";
    constexpr std::string_view rotateMark = "<Rotate v=\"";
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(pageMark)) {
            const long number = std::strtol(line.c_str() + pageMark.size(), nullptr, 10);
            const bool known = number > 0 && static_cast<std::size_t>(number) <= pages.size();
            page = known ? &pages[static_cast<std::size_t>(number) - 1] : nullptr;
        } else if (page != nullptr && line.starts_with(rotateMark)) {
            page->rotation = normalised(
                static_cast<int>(std::strtol(line.c_str() + rotateMark.size(), nullptr, 10)));
        } else if (page != nullptr && line != "</page>") {
            page->boxes += line + "\n";
        }
    }
}

std::vector<OutsidePage> readWithPoppler(const std::string& file, const Words& password) {
    const ProgramRun text = runProgram(joined(joined({"pdftotext"}, password), {file, "-"}));
    std::vector<OutsidePage> pages = pagesFromText(text.output);
    const ProgramRun info =
        runProgram(joined(joined({"pdfinfo"}, password),
                          {"-box", "-f", "1", "-l", std::to_string(pages.size()), file}));
    addPopplerBoxes(info.output, pages);
    return pages;
}

std::vector<OutsidePage> readWithMuPDF(const std::string& file, const Words& password) {
    const ProgramRun text = runProgram(
        joined(joined({"mutool", "draw", "-q", "-F", "text", "-o", "-"}, password), {file}));
    std::vector<OutsidePage> pages = pagesFromText(text.output);
    const ProgramRun info = runProgram(joined(joined({"mutool", "pages"}, password), {file}));
    addMuPDFBoxes(info.output, pages);
    return pages;
}

/// Runs qpdf on the file with each password until it can read it.
ProgramRun runQPDF(const Words& options, const std::filesystem::path& file,
                   const std::vector<KnownPassword>& passwords, const Words& more = {}) {
    const Words command = joined(joined(options, {file.string()}), more);
    ProgramRun run = runProgram(joined({"qpdf"}, command));
    for (const KnownPassword& password : passwords) {
        if (run.errors.find("invalid password") == std::string::npos) {
            break;
        }
        run = runProgram(joined({"qpdf", "--password=" + password.text}, command));
    }
    return run;
}

} // namespace

std::vector<OutsidePage> readPages(OutsideReader reader, const std::filesystem::path& file,
                                   const std::vector<KnownPassword>& passwords) {
    for (const Words& password : passwordOptions(reader, passwords)) {
        auto pages = reader == OutsideReader::poppler ? readWithPoppler(file.string(), password)
                                                      : readWithMuPDF(file.string(), password);
        if (!pages.empty()) {
            return pages;
        }
    }
    return {};
}

Verdict checkWithQPDF(const std::filesystem::path& file,
                      const std::vector<KnownPassword>& passwords) {
    const ProgramRun run = runQPDF({"--check"}, file, passwords);
    return Verdict{run.exitStatus, run.output + run.errors};
}

std::optional<std::size_t> pageCountByQPDF(const std::filesystem::path& file,
                                           const std::vector<KnownPassword>& passwords) {
    const ProgramRun run = runQPDF({"--show-npages"}, file, passwords);
    std::size_t count = 0;
    const auto [end, error] =
        std::from_chars(run.output.data(), run.output.data() + run.output.size(), count);
    if (error != std::errc() || end == run.output.data()) {
        return std::nullopt;
    }
    return count;
}

bool hasReadersDrawFields(const Document& document) {
    const ProgramRun run =
        runQPDF({"--json", "--json-key=acroform"}, document.file, document.passwords);
    return run.output.find("\"needappearances\": true") != std::string::npos;
}

bool turnWithQPDF(const Document& document, int degrees, const std::filesystem::path& turned) {
    const ProgramRun run =
        runQPDF({"--decrypt", "--rotate=+" + std::to_string(degrees), "--warning-exit-0"},
                document.file, document.passwords, {turned.string()});
    return run.exitStatus == 0;
}

std::string complaintsOnRewriting(const std::filesystem::path& file) {
    const ProgramRun run =
        runProgram({"qpdf", "--stream-data=preserve", file.string(), "/dev/null"});
    std::string complaints;
    std::istringstream in(run.errors);
    for (std::string line; std::getline(in, line);) {
        // A misspelt name is passed on as its author wrote it.
        if (line.find("name with stray #") == std::string::npos &&
            line.find("qpdf: operation succeeded with warnings") == std::string::npos) {
            complaints += line + "\n";
        }
    }
    if (run.exitStatus != 0 && run.exitStatus != 3) {
        complaints += "exit status " + std::to_string(run.exitStatus);
    }
    return complaints;
}

} // namespace quillorn::corpus
