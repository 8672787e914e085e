#pragma once

#include "platform/files/ReplacementFile.h"

#include <optional>
#include <qpdf/Pipeline.hh>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <utility>
#include <vector>

namespace quillorn {

/// Thrown through libqpdf to end a write that the caller cancelled.
class WriteCancelled : public std::runtime_error {
public:
    WriteCancelled() : std::runtime_error("cancelled") {}
};

/// Thrown through libqpdf when the disk has refused bytes.
class WriteFailed : public std::runtime_error {
public:
    explicit WriteFailed(FileError error)
        : std::runtime_error(error.reason), m_error(std::move(error)) {}
    [[nodiscard]] const FileError& error() const { return m_error; }

private:
    FileError m_error;
};

/// Collects libqpdf's many small writes into large ones to the temporary file.
///
/// Writing never throws, as libqpdf ends its chains of pipelines in destructors, where an
/// exception would end the program. What went wrong is kept instead, the bytes after it are
/// dropped, and `throwIfEnded` says so from a place where that is sound.
class FilePipeline : public Pipeline {
public:
    FilePipeline(ReplacementFile& file, std::stop_token stop);

    void write(unsigned char const* data, size_t length) override;
    void finish() override;

    /// Throws WriteFailed once the disk has refused bytes, else WriteCancelled once a stop was
    /// requested. For libqpdf's progress reports, which come from no destructor, and the end.
    void throwIfEnded() const;

private:
    void flush();
    void writeToFile(std::span<const char> data);

    ReplacementFile& m_file;
    std::stop_token m_stop;
    std::vector<char> m_buffer;
    std::optional<FileError> m_failure;
};

} // namespace quillorn
