#pragma once

#include "platform/files/FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <qpdf/InputSource.hh>
#include <span>
#include <string>
#include <vector>

namespace quillorn {

/// Feeds libqpdf from an open descriptor, which several readers may share: every read names its
/// own offset. A window of the file is kept in memory, because parsing jumps back and forth in
/// small steps. Reads, rather than maps, the file: a mapped file that somebody truncates would
/// end the program with a bus error. The file is as long as it was when it was opened: bytes
/// added later are not seen, and missing ones are an error.
///
/// Errors are exceptions (std::runtime_error), as libqpdf expects of its input sources.
class DescriptorInputSource : public InputSource {
public:
    DescriptorInputSource(std::shared_ptr<const FileDescriptor> descriptor, std::string name,
                          std::uint64_t size);

    qpdf_offset_t findAndSkipNextEOL() override;
    std::string const& getName() const override { return m_name; }
    qpdf_offset_t tell() override { return m_offset; }
    void seek(qpdf_offset_t offset, int whence) override;
    void rewind() override { m_offset = 0; }
    size_t read(char* destination, size_t length) override;
    void unreadCh(char ch) override;

private:
    void readFully(std::span<char> target, qpdf_offset_t offset) const;
    /// Makes the window cover m_offset; false at the end of the file.
    bool loadWindow();
    [[nodiscard]] bool windowCovers(qpdf_offset_t offset) const {
        return offset >= m_windowStart && offset < m_windowStart + m_windowLength;
    }

    std::shared_ptr<const FileDescriptor> m_descriptor;
    std::string m_name;
    qpdf_offset_t m_size;
    qpdf_offset_t m_offset = 0;
    std::vector<char> m_window;
    qpdf_offset_t m_windowStart = 0;
    qpdf_offset_t m_windowLength = 0;
};

} // namespace quillorn
