#include "import/WordConverter.h"

#include "model/FileNames.h"
#include "platform/files/BesideProgram.h"
#include "platform/files/FileDescriptor.h"
#include "platform/files/ReplacementFile.h"
#include "platform/print/Base64.h"
#include "platform/process/ChildFolder.h"
#include "platform/process/ChildProcess.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;
using Kind = ImportRefusal::Kind;

namespace {

constexpr std::string_view converterName = "wvCommand";
constexpr std::size_t largestHTML = std::size_t{32} << 20U;
constexpr std::uint64_t largestDocument = std::uint64_t{256} << 20U;
constexpr std::uint64_t largestPicture = std::uint64_t{16} << 20U;
constexpr std::uint64_t memoryLimit = std::uint64_t{512} << 20U;
constexpr std::uint64_t processorSeconds = 30;

tl::unexpected<ImportRefusal> refused(const std::string& path, std::string reason,
                                      Kind kind = Kind::notLegal) {
    return tl::unexpected(ImportRefusal::make(kind, path, std::move(reason)));
}

/// The content of a file that the child made, unless it is something else or too large.
std::optional<std::string> madeFile(const fs::path& path) {
    const FileDescriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::uint64_t>(status.st_size) > largestPicture) {
        return std::nullopt;
    }
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    const auto got = readAt(file, path, content, 0);
    content.resize(got ? *got : 0);
    return content;
}

/// Puts the pictures that lie beside the page into it, so that it is complete by itself.
std::string withPictures(const std::string& html, const fs::path& folder) {
    constexpr std::string_view attribute = "src=\"picture";
    constexpr std::size_t nameOffset = 5;
    std::string result;
    std::size_t done = 0;
    for (std::size_t found = html.find(attribute); found != std::string::npos;
         found = html.find(attribute, done)) {
        const std::size_t start = found + nameOffset;
        const std::size_t end = html.find('"', start);
        if (end == std::string::npos) {
            break;
        }
        const std::string name = html.substr(start, end - start);
        const auto picture =
            name.find('/') == std::string::npos ? madeFile(folder / name) : std::nullopt;
        result.append(html, done, start - done);
        result += picture ? "data:;base64," + toBase64(*picture) : name;
        done = end;
    }
    return result.append(html, done);
}

FileResult<void> writeWhole(const fs::path& path, std::string_view text) {
    auto file = ReplacementFile::create(path);
    if (!file) {
        return tl::unexpected(std::move(file.error()));
    }
    auto done = file->write(text);
    return done ? file->commit() : done;
}

} // namespace

ImportResult<std::string> WordConverter::htmlOf(const std::string& path,
                                                const std::stop_token& stop) const {
    const auto opened = FileDescriptor::openRegularFile(path);
    const auto stamp = opened ? FileStamp::of(*opened, path) : tl::unexpected(opened.error());
    if (!stamp || stamp->size > largestDocument) {
        return refused(path, stamp ? "it is too large for a text document" : stamp.error().reason);
    }
    const auto folder = ChildFolder::create();
    if (!folder) {
        return refused(path, folder.error().reason, Kind::needsConverter);
    }
    const fs::path copy = folder->path() / "document.doc";
    const fs::path command = folder->path() / converterName;
    std::error_code error;
    fs::copy_file(path, copy, error);
    // The child's user may not see the folder that this program lies in.
    if (error || !folder->giveToChild(copy) ||
        !fs::copy_file(besideProgram(converterName), command, error) ||
        !folder->giveToChild(command)) {
        return refused(
            path, besideProgram(converterName).string() + " cannot be used: " + error.message(),
            Kind::needsConverter);
    }
    ChildCommand child;
    child.arguments = {"/bin/sh", command.string(), copy.string()};
    child.workingFolder = folder->path();
    child.environment = {{"HOME", folder->path().string()}, {"TMPDIR", folder->path().string()}};
    child.limits = {memoryLimit, processorSeconds, largestPicture};
    child.network = false;
    child.outputLimit = largestHTML;
    const auto end = runChild(child, m_options.timeLimit, stop);
    if (!end) {
        return refused(path, end.error().reason, Kind::needsConverter);
    }
    if (!end->isSuccess() || end->output.empty() || !end->isOutputWhole) {
        return refused(path, "wvCommand cannot read it: " + end->text());
    }
    return withPictures(end->output, folder->path());
}

ImportResult<std::string> WordConverter::doc2PDF(const std::string& path,
                                                 const std::stop_token& stop) {
    const std::string base = baseName(path);
    const fs::path page = m_options.cacheFolder / (base + ".html");
    const fs::path pdf = m_options.cacheFolder / (base + ".doc");
    std::error_code error;
    fs::remove(pdf, error); // what an earlier run left is not this document's
    auto html = htmlOf(path, stop);
    if (!html) {
        return html;
    }
    if (auto written = writeWhole(page, *html); !written) {
        return refused(path, written.error().reason);
    }
    auto printed = m_html.html2PDF(page.string(), stop);
    if (!printed) {
        fs::remove(page, error);
        return refused(path, std::move(printed.error().reason), printed.error().kind);
    }
    fs::rename(*printed, pdf, error);
    if (error) {
        return refused(path, pdf.string() + ": " + error.message());
    }
    return pdf.string();
}

} // namespace quillorn
