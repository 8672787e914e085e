#include "tests/architecture/IncludeRules.h"

#include "tests/architecture/IncludeScanner.h"
#include "tests/architecture/QtWidgetsHeaders.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace quillorn::architecture {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string_view>;

struct Unit {
    std::string_view folder;
    Names mayInclude; ///< units besides itself
};

// The longest folder that holds a file is its unit.
const std::vector<Unit>& units() {
    static const std::vector<Unit> all = {
        {"app", {"model", "panes", "import", "composer", "platform", "platform/pdf"}},
        {"import", {"panes", "model", "platform", "platform/pdf"}},
        {"composer", {"panes", "model", "platform", "platform/pdf"}},
        {"panes", {"model", "platform", "platform/pdf"}},
        {"model", {"platform/pdf"}},
        {"platform", {"platform/pdf"}},
        {"platform/pdf", {"platform"}},
        {"support", {}},
        {"cmake", {}},
        {"tests", {"app", "import", "composer", "panes", "model", "platform", "platform/pdf"}},
        {"tests/support", {"support"}},
        {"benchmarks", {"app", "import", "composer", "panes", "model", "platform", "platform/pdf"}},
        {"benchmarks/support", {"support", "benchmarks"}},
        {"fuzz", {"app", "import", "composer", "panes", "model", "platform", "platform/pdf"}},
    };
    return all;
}

bool isInside(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

bool isInsideAny(std::string_view path, const Names& folders) {
    return std::ranges::any_of(folders,
                               [path](std::string_view folder) { return isInside(path, folder); });
}

const Unit* unitOf(std::string_view path) {
    const Unit* best = nullptr;
    for (const Unit& unit : units()) {
        if (isInside(path, unit.folder) &&
            (best == nullptr || unit.folder.size() > best->folder.size())) {
            best = &unit;
        }
    }
    return best;
}

bool isQpdfHeader(std::string_view path) {
    return path.starts_with("qpdf/");
}

// Poppler's private headers are found below its own include folder as well.
bool isPopplerHeader(std::string_view path) {
    constexpr std::array<std::string_view, 4> prefixes = {"poppler", "splash/", "goo/", "fofi/"};
    constexpr std::array<std::string_view, 6> names = {"GlobalParams.h",    "OutputDev.h",
                                                       "PDFDoc.h",          "PDFDocFactory.h",
                                                       "SplashOutputDev.h", "TextOutputDev.h"};
    return std::ranges::any_of(
               prefixes, [path](std::string_view prefix) { return path.starts_with(prefix); }) ||
           std::ranges::find(names, path) != names.end();
}

// What decodes images: foreign bytes meet it in workers only.
bool isImageDecoderHeader(std::string_view path) {
    constexpr std::array<std::string_view, 5> prefixes = {"Magick++", "MagickCore/", "magick/",
                                                          "tiffio", "QtSvg/"};
    constexpr std::array<std::string_view, 3> names = {"QImageReader", "QSvgRenderer",
                                                       "libdeflate.h"};
    return std::ranges::any_of(
               prefixes, [path](std::string_view prefix) { return path.starts_with(prefix); }) ||
           std::ranges::find(names, path) != names.end();
}

// The office engine's own interfaces, which belong in a process of their own.
bool isOfficeHeader(std::string_view path) {
    constexpr std::array<std::string_view, 5> prefixes = {"com/sun/star/", "cppuhelper/", "rtl/",
                                                          "osl/", "sal/"};
    return std::ranges::any_of(
        prefixes, [path](std::string_view prefix) { return path.starts_with(prefix); });
}

bool isEncodingHeader(std::string_view path) {
    return path.starts_with("unicode/") || path.starts_with("uchardet/");
}

bool isPlistHeader(std::string_view path) {
    return path.starts_with("plist/");
}

bool isQtHeader(std::string_view path) {
    const auto isUpperAt = [path](std::size_t index) {
        return index < path.size() && std::isupper(static_cast<unsigned char>(path[index])) != 0;
    };
    return path.starts_with("Q") && (isUpperAt(1) || (path.starts_with("Qt") && isUpperAt(2)));
}

struct ThirdParty {
    std::string_view name;
    bool (*matches)(std::string_view path);
    Names onlyIn;    ///< the folders that may; empty: every folder
    Names nowhereIn; ///< the folders that may not
};

const std::vector<ThirdParty>& thirdParties() {
    static const std::vector<ThirdParty> all = {
        // cmake/clang stands before a header of libqpdf's.
        {"libqpdf", isQpdfHeader, {"platform/pdf", "cmake/clang"}, {}},
        {"Poppler", isPopplerHeader, {"platform/render/worker"}, {}},
        {"an image decoder", isImageDecoderHeader, {"platform/imaging/worker"}, {}},
        {"the office engine",
         isOfficeHeader,
         {"platform/office/bridge", "platform/office/engine"},
         {}},
        {"an encodings library", isEncodingHeader, {"platform/office/text"}, {}},
        {"libplist", isPlistHeader, {"platform/print", "support"}, {}},
        // Tests may put a pane's rules behind the real widgets, and benchmarks measure these.
        {"Qt Widgets",
         isQtWidgetsHeader,
         {"app", "platform/ui", "platform/browser", "tests", "benchmarks/window"},
         {}},
        {"Qt", isQtHeader, {}, {"support", "tests/support", "benchmarks/support"}},
    };
    return all;
}

std::string joined(const Names& names) {
    std::string result;
    for (const std::string_view name : names) {
        result += result.empty() ? "" : ", ";
        result += name;
    }
    return result;
}

bool isSource(const fs::path& path) {
    constexpr std::array<std::string_view, 10> extensions = {".h",   ".hh", ".hpp", ".hxx", ".inl",
                                                             ".ipp", ".c",  ".cc",  ".cpp", ".cxx"};
    return std::ranges::find(extensions, path.extension().string()) != extensions.end();
}

} // namespace

std::string Violation::text() const {
    return file + ":" + std::to_string(line) + ": " + include + ": " + reason;
}

IncludeRules::IncludeRules(std::vector<SourceFile> files) : m_files(std::move(files)) {
    std::ranges::transform(m_files, std::back_inserter(m_paths), &SourceFile::path);
    std::ranges::sort(m_paths);
}

bool IncludeRules::isKnown(const std::string& path) const {
    return std::ranges::binary_search(m_paths, path);
}

std::vector<std::string> IncludeRules::targetsOf(const std::string& includer,
                                                 const std::string& path, bool quoted) const {
    const std::string beside =
        (fs::path(includer).parent_path() / path).lexically_normal().generic_string();
    const std::string fromRoot = fs::path(path).lexically_normal().generic_string();
    if (quoted && isKnown(beside)) {
        return {beside};
    }
    if (isKnown(fromRoot)) {
        return {fromRoot};
    }
    std::vector<std::string> candidates;
    std::ranges::copy_if(
        m_paths, std::back_inserter(candidates),
        [&fromRoot](const std::string& known) { return known.ends_with("/" + fromRoot); });
    if (candidates.empty() && quoted) {
        // A header that the build makes counts where its name puts it.
        candidates.push_back(unitOf(fromRoot) != nullptr ? fromRoot : beside);
    }
    return candidates;
}

void IncludeRules::checkFile(const SourceFile& file, std::vector<Violation>& violations) const {
    const Unit* unit = unitOf(file.path);
    if (unit == nullptr) {
        violations.push_back({file.path, 1, "", "its folder has no rule"});
        return;
    }
    for (const Include& include : includesOf(file.text)) {
        const auto report = [&](std::string reason) {
            violations.push_back({file.path, include.line, include.path, std::move(reason)});
        };
        if (include.form == Include::Form::macro) {
            report("an include through a macro cannot be checked");
            continue;
        }
        for (const ThirdParty& third : thirdParties()) {
            if (!third.matches(include.path)) {
                continue;
            }
            if (!third.onlyIn.empty() && !isInsideAny(file.path, third.onlyIn)) {
                report(std::string(third.name) + " belongs in " + joined(third.onlyIn) + " only");
            } else if (isInsideAny(file.path, third.nowhereIn)) {
                report(std::string(third.name) + " must not be used in " + joined(third.nowhereIn));
            }
        }
        const bool quoted = include.form == Include::Form::quoted;
        for (const std::string& target : targetsOf(file.path, include.path, quoted)) {
            const Unit* other = unitOf(target);
            if (other == nullptr || other == unit ||
                std::ranges::find(unit->mayInclude, other->folder) != unit->mayInclude.end()) {
                continue;
            }
            report(std::string(unit->folder) + " must not include " + std::string(other->folder));
            break;
        }
    }
}

std::vector<Violation> IncludeRules::check() const {
    std::vector<Violation> violations;
    for (const SourceFile& file : m_files) {
        checkFile(file, violations);
    }
    return violations;
}

std::vector<SourceFile> readSourceTree(const fs::path& root) {
    std::vector<SourceFile> files;
    for (auto entry = fs::recursive_directory_iterator(root);
         entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string name = entry->path().filename().string();
        if (entry->is_directory()) {
            const bool made = entry.depth() == 0 && (name == "build" || name == "out");
            if (made || name.starts_with(".")) {
                entry.disable_recursion_pending();
            }
            continue;
        }
        if (!entry->is_regular_file() || !isSource(entry->path())) {
            continue;
        }
        std::ifstream stream(entry->path(), std::ios::binary);
        std::string text(entry->file_size(), '\0');
        stream.read(text.data(), static_cast<std::streamsize>(text.size()));
        if (!stream) {
            throw std::runtime_error("cannot read " + entry->path().string());
        }
        files.push_back({entry->path().lexically_relative(root).generic_string(), std::move(text)});
    }
    std::ranges::sort(files, {}, &SourceFile::path);
    return files;
}

} // namespace quillorn::architecture
