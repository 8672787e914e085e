#include "app/OutputPlace.h"

#include "app/TerminalText.h"
#include "model/FileNames.h"

#include <filesystem>
#include <system_error>

namespace quillorn {

namespace {

FileResult<std::string> made(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        return tl::unexpected(
            FileError{folder, "the output folder cannot be made: " + errnoText(error.value()),
                      error.value()});
    }
    return folder;
}

} // namespace

FileResult<std::string> OutputPlace::targetFor(const std::string& name) {
    if (!m_folder) {
        m_folder = m_named ? made(*m_named) : settled();
    }
    if (!*m_folder) {
        return tl::unexpected(m_folder->error());
    }
    return joinedPath(**m_folder, name);
}

FileResult<std::string> OutputPlace::settled() const {
    auto folder = m_settleOwn();
    if (!folder) {
        folder.error().reason = "the output folder is not known: " + folder.error().file.string() +
                                ": " + folder.error().reason;
    }
    return folder;
}

std::string OutputPlace::nameOf(const std::string& name) const {
    if (m_named) {
        return fullPath(joinedPath(*m_named, name));
    }
    return m_folder && *m_folder ? fullPath(joinedPath(**m_folder, name)) : name;
}

} // namespace quillorn
