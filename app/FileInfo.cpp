#include "app/FileInfo.h"

#include "app/PageLabelSummary.h"
#include "app/TerminalText.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t runsShown = 12;
constexpr std::size_t warningsShown = 5;

/// Two decimals at most: 612, 595.28.
std::string points(double value) {
    std::ostringstream text;
    text.precision(2);
    text << std::fixed << value;
    std::string digits = text.str();
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.ends_with('.')) {
        digits.pop_back();
    }
    return digits;
}

void addLine(std::string& text, std::string_view name, std::string_view value) {
    constexpr std::size_t column = 14;
    std::string line = "  " + std::string(name);
    line.resize(std::max(line.size() + 1, column), ' ');
    text += line + printable(value) + "\n";
}

std::string protectionText(const FileInfo& info) {
    if (info.locked) {
        return "locked; a password is needed to tell more";
    }
    return info.encrypted ? "encrypted" : "none";
}

std::string permissionsText(const PDFPermissions& allowed) {
    const std::pair<bool, const char*> all[] = {
        {allowed.copying, "copying"},
        {allowed.printing, allowed.printingHighRes ? "printing" : "printing (low resolution)"},
        {allowed.accessibility, "reading aloud"},
        {allowed.assembly, "assembling"},
        {allowed.formFilling, "filling forms"},
        {allowed.annotating, "annotating"},
        {allowed.modifying, "changing"}};
    std::string granted;
    std::string denied;
    for (const auto& [isGranted, name] : all) {
        std::string& list = isGranted ? granted : denied;
        list += (list.empty() ? "" : ", ") + std::string(name);
    }
    if (denied.empty()) {
        return allowed.printingHighRes ? "everything" : granted;
    }
    return granted.empty() ? "nothing" : granted + "; not " + denied;
}

std::string firstPageText(const FileInfo::FirstPage& page) {
    std::string text = points(page.size.width) + " x " + points(page.size.height) + " points";
    if (page.rotation != 0) {
        text += ", turned by " + std::to_string(page.rotation) + " degrees";
    }
    return text;
}

std::string labelsText(const std::vector<PDFPageLabelRange>& ranges, std::size_t pages) {
    const PageLabelRuns runs = pageLabelRuns(ranges, pages, runsShown);
    std::string text;
    for (const std::string& run : runs.texts) {
        text += (text.empty() ? "" : ", ") + run;
    }
    if (runs.further > 0) {
        text += ", and " + grouped(runs.further) + " more ranges";
    }
    return text.empty() ? "none" : text;
}

void addWarnings(std::string& text, const std::vector<std::string>& warnings) {
    addLine(text, "warnings", grouped(warnings.size()));
    for (std::size_t i = 0; i < std::min(warnings.size(), warningsShown); ++i) {
        addLine(text, "", warnings[i]);
    }
    if (warnings.size() > warningsShown) {
        addLine(text, "", "and " + grouped(warnings.size() - warningsShown) + " more");
    }
}

} // namespace

FileInfo FileInfo::of(const PDFSource& source) {
    FileInfo info;
    info.path = fullPath(source.path().string());
    info.bytes = source.fileSize();
    info.version = source.version();
    info.encrypted = source.isEncrypted();
    info.locked = source.isLocked();
    info.warnings = source.warnings();
    if (info.locked) {
        return info;
    }
    info.pages = source.pageCount();
    info.permissions = source.permissions();
    if (info.pages > 0) {
        if (const auto geometry = source.geometry(0)) {
            info.firstPage = FirstPage{geometry->displaySize(), geometry->rotation};
        } else {
            info.warnings.push_back(geometry.error().reason);
        }
    }
    if (auto ranges = source.labelRanges()) {
        info.labelRanges = std::move(*ranges);
    } else {
        info.warnings.push_back(ranges.error().reason);
    }
    return info;
}

std::string fileInfoText(const FileInfo& info) {
    std::string text = printable(info.path) + "\n";
    if (!info.locked) {
        addLine(text, "pages", grouped(info.pages));
    }
    addLine(text, "size", counted(info.bytes, "byte"));
    addLine(text, "version",
            "PDF " + std::to_string(info.version.major) + "." + std::to_string(info.version.minor));
    addLine(text, "protection", protectionText(info));
    if (!info.locked) {
        addLine(text, "allows", permissionsText(info.permissions));
        addLine(text, "first page", info.firstPage ? firstPageText(*info.firstPage) : "none");
        addLine(text, "page labels", labelsText(info.labelRanges, info.pages));
    }
    if (!info.warnings.empty()) {
        addWarnings(text, info.warnings);
    }
    return text;
}

} // namespace quillorn
