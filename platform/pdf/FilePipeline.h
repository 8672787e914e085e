#pragma once

#include "platform/files/ReplacementFile.h"

#include <qpdf/Pipeline.hh>
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

/// Thrown through libqpdf when the disk refuses bytes.
class WriteFailed : public std::runtime_error {
public:
    explicit WriteFailed(FileError error)
        : std::runtime_error(error.reason), m_error(std::move(error)) {}
    [[nodiscard]] const FileError& error() const { return m_error; }

private:
    FileError m_error;
};

/// Collects libqpdf's many small writes into large ones to the temporary file.
class FilePipeline : public Pipeline {
public:
    FilePipeline(ReplacementFile& file, std::stop_token stop);

    void write(unsigned char const* data, size_t length) override;
    void finish() override;

private:
    void flush();

    ReplacementFile& m_file;
    std::stop_token m_stop;
    std::vector<char> m_buffer;
};

} // namespace quillorn
