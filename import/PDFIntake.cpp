#include "import/PDFIntake.h"

#include "import/FileRoute.h"
#include "model/FileNames.h"

#include <cstddef>
#include <filesystem>
#include <system_error>

namespace quillorn {

namespace {

using Kind = ImportRefusal::Kind;

bool isRestricted(const PDFDocument& document) {
    return document.isLocked() || !document.allowsCopying() || !document.allowsPrinting();
}

/// What keeps the pages of an opened document from being taken.
std::string restrictionOf(const PDFDocument& document) {
    if (document.isLocked()) {
        return "it is locked with a password";
    }
    if (!document.allowsCopying() && !document.allowsPrinting()) {
        return "it allows neither copying nor printing without the owner's password";
    }
    return document.allowsCopying() ? "it does not allow printing without the owner's password"
                                    : "it does not allow copying without the owner's password";
}

} // namespace

ImportResult<std::unique_ptr<PDFDocument>>
PDFIntake::open(const std::string& path, const std::optional<std::string>& password) const {
    auto opened = PDFDocument::open(path, m_snapshots);
    if (!opened) {
        return tl::unexpected(ImportRefusal::fromError(path, opened.error()));
    }
    PDFDocument& document = **opened;
    if (document.majorVersion() == 0 && document.minorVersion() == 0) {
        return tl::unexpected(
            ImportRefusal::make(Kind::notLegal, path, "it does not say which PDF version it has"));
    }
    if (!isRestricted(document)) {
        return std::move(*opened);
    }
    if (!password) {
        return tl::unexpected(ImportRefusal::make(Kind::encrypted, path, restrictionOf(document)));
    }
    if (auto unlocked = document.unlockWithPassword(*password); !unlocked) {
        return tl::unexpected(ImportRefusal::fromError(path, unlocked.error()));
    }
    if (isRestricted(document)) {
        return tl::unexpected(
            ImportRefusal::make(Kind::wrongPassword, path,
                                "the password opens the file, but " + restrictionOf(document)));
    }
    return std::move(*opened);
}

ImportResult<std::shared_ptr<const PDFSource>>
PDFIntake::inspect(const std::string& path, const std::optional<std::string>& password) const {
    auto opened = PDFSource::open(path, m_snapshots);
    if (opened && password && (*opened)->isEncrypted()) {
        opened = (*opened)->unlocked(*password);
    }
    if (!opened) {
        return tl::unexpected(ImportRefusal::fromError(path, opened.error()));
    }
    return std::move(*opened);
}

void labelImportedPages(PDFDocument& document, const std::string& path, bool wasUnlocked) {
    const bool namedByFile = !wasUnlocked && isImageFile(path);
    const std::string name = namedByFile ? lastPathComponent(path) : baseName(path);
    for (std::size_t i = 0; i < document.pageCount(); ++i) {
        document.pageAtIndex(i)->setLabel(namedByFile ? name : std::to_string(i + 1) + "-" + name);
    }
}

ImportResult<std::vector<std::string>> filesToOpen(const std::string& path) {
    std::vector<std::string> files;
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
        files.push_back(path); // also when nothing is there: opening it says so
        return files;
    }
    std::filesystem::directory_iterator entry(path, error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        files.push_back(joinedPath(path, entry->path().filename().string()));
        entry.increment(error);
    }
    if (error) {
        return tl::unexpected(ImportRefusal::make(Kind::notLegal, path, errnoText(error.value())));
    }
    return files;
}

} // namespace quillorn
