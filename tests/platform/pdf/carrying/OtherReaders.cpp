#include "tests/platform/pdf/carrying/OtherReaders.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace quillorn::tests {

namespace {

/// Prints lines as the functions here return them; the second argument says which.
constexpr const char* script = R"js(
var pdf = new PDFDocument(scriptArgs[0]);
function target(address) {
    var found = /^#page=([0-9]+)/.exec(address || "nowhere");
    return found ? "p" + found[1] : address || "nowhere";
}
function addEntries(entries, indent) {
    (entries || []).forEach(function (entry) {
        print(indent + entry.title + " > " + target(entry.uri));
        addEntries(entry.down, indent + "  ");
    });
}
if (scriptArgs[1] == "outline") {
    addEntries(pdf.loadOutline(), "");
}
for (var i = 0; i < pdf.countPages(); ++i) {
    var place = "p" + (i + 1) + " ", page = pdf.loadPage(i);
    if (scriptArgs[1] == "links") {
        page.getLinks().forEach(function (link) { print(place + "> " + target(link.uri)); });
    }
    if (scriptArgs[1] == "fields") {
        page.getWidgets().forEach(function (widget) {
            print(place + widget.getLabel() + " = " + widget.getValue());
        });
    }
}
)js";

std::string seenByMuPDF(const std::filesystem::path& file, const std::string& what) {
    const TemporaryFolder folder;
    writeFile(folder / "look.js", script);
    return outputOf({"mutool", "run", (folder / "look.js").string(), file.string(), what});
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What stands between two texts; empty where they do not.
std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t start = text.find(before);
    if (start == std::string::npos) {
        return {};
    }
    const std::size_t end = text.find(after, start + before.size());
    return end == std::string::npos
               ? std::string()
               : text.substr(start + before.size(), end - start - before.size());
}

/// "p1 > ...": those to pages first.
std::vector<std::string> pagesFirst(std::vector<std::string> links) {
    std::stable_partition(links.begin(), links.end(), [](const std::string& link) {
        return link.find("://") == std::string::npos;
    });
    return links;
}

std::string asXML(const std::filesystem::path& file) {
    return outputOf({"pdftohtml", "-xml", "-stdout", "-i", file.string()});
}

} // namespace

std::string outlineByMuPDF(const std::filesystem::path& file) {
    return seenByMuPDF(file, "outline");
}

std::string outlineByPoppler(const std::filesystem::path& file) {
    std::string lines;
    std::size_t depth = 0;
    for (const std::string& line : linesOf(asXML(file))) {
        if (line == "<outline>") {
            ++depth;
        } else if (line == "</outline>") {
            --depth;
        } else if (line.starts_with("<item")) { // <item page="3">Title</item>
            const std::string page = between(line, "page=\"", "\"");
            lines += std::string(2 * (depth - 1), ' ') + between(line, ">", "</item>") + " > " +
                     (page.empty() ? "nowhere" : "p" + page) + "\n";
        }
    }
    return lines;
}

std::vector<std::string> linksByMuPDF(const std::filesystem::path& file) {
    return pagesFirst(linesOf(seenByMuPDF(file, "links")));
}

std::vector<std::string> linksByPoppler(const std::filesystem::path& file) {
    std::vector<std::string> links;
    // It tells the links of a page to others ahead of the page itself, in one line.
    constexpr const char* mark = "link to page ";
    for (const std::string& line : linesOf(asXML(file))) {
        const std::string page = between(line, "<page number=\"", "\"");
        for (std::size_t at = line.find(mark); !page.empty() && at != std::string::npos;
             at = line.find(mark, at + 1)) {
            links.push_back("p" + page + " > p" + between(line.substr(at), mark, " "));
        }
    }
    // "   1  Annotation    http://example.org"
    for (const std::string& line : linesOf(outputOf({"pdfinfo", "-url", file.string()}))) {
        std::istringstream words(line);
        std::string page;
        std::string kind;
        std::string address;
        if (words >> page >> kind >> address && kind == "Annotation") {
            links.push_back("p" + page + " > " + address);
        }
    }
    return links;
}

std::vector<std::string> fieldsByMuPDF(const std::filesystem::path& file) {
    return linesOf(seenByMuPDF(file, "fields"));
}

} // namespace quillorn::tests
