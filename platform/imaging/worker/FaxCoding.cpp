#include "platform/imaging/worker/RowPacking.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <tiffio.h>

namespace quillorn::worker {

namespace {

/// A TIFF file in memory, for libtiff to write its one strip into.
class MemoryFile {
public:
    std::vector<char> bytes;

    static tmsize_t read(thandle_t handle, void* buffer, tmsize_t size) {
        MemoryFile& file = self(handle);
        const std::size_t wanted =
            std::min(static_cast<std::size_t>(size),
                     file.bytes.size() - std::min(file.m_position, file.bytes.size()));
        if (wanted > 0) {
            std::memcpy(buffer, file.bytes.data() + file.m_position, wanted);
        }
        file.m_position += wanted;
        return static_cast<tmsize_t>(wanted);
    }
    static tmsize_t write(thandle_t handle, void* buffer, tmsize_t size) {
        MemoryFile& file = self(handle);
        const std::size_t end = file.m_position + static_cast<std::size_t>(size);
        file.bytes.resize(std::max(file.bytes.size(), end));
        std::memcpy(file.bytes.data() + file.m_position, buffer, static_cast<std::size_t>(size));
        file.m_position = end;
        return size;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        MemoryFile& file = self(handle);
        const std::size_t base = whence == SEEK_SET   ? 0
                                 : whence == SEEK_CUR ? file.m_position
                                                      : file.bytes.size();
        file.m_position = base + static_cast<std::size_t>(offset);
        return file.m_position;
    }
    static int close(thandle_t /*handle*/) { return 0; }
    static toff_t size(thandle_t handle) { return self(handle).bytes.size(); }

private:
    static MemoryFile& self(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }

    std::size_t m_position = 0;
};

struct CloseTIFF {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

} // namespace

std::vector<char> faxed(const PlainRows& rows, std::uint32_t width) {
    const auto height = static_cast<std::uint32_t>(rows.bytes.size() / rows.rowBytes);
    MemoryFile file;
    std::unique_ptr<TIFF, CloseTIFF> tiff(
        TIFFClientOpen("fax", "w", &file, &MemoryFile::read, &MemoryFile::write, &MemoryFile::seek,
                       &MemoryFile::close, &MemoryFile::size, nullptr, nullptr));
    if (!tiff) {
        return {};
    }
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff.get(), TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, height);
    // Group 4 codes runs of white (0) and black (1): the other way round than the rows.
    std::vector<std::uint8_t> inverted(rows.bytes.size());
    std::ranges::transform(rows.bytes, inverted.begin(),
                           [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
    if (TIFFWriteEncodedStrip(tiff.get(), 0, inverted.data(),
                              static_cast<tmsize_t>(inverted.size())) < 0) {
        return {};
    }
    const std::uint64_t offset = TIFFGetStrileOffset(tiff.get(), 0);
    const std::uint64_t size = TIFFGetStrileByteCount(tiff.get(), 0);
    if (TIFFFlushData(tiff.get()) == 0 || size == 0 || offset + size > file.bytes.size()) {
        return {};
    }
    return std::vector<char>(file.bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                             file.bytes.begin() + static_cast<std::ptrdiff_t>(offset + size));
}

} // namespace quillorn::worker
