#include "PdfFile.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <stdexcept>

#include <zlib.h>

namespace bench {

namespace {

constexpr int objectsPerStream = 100;

// One row of the cross-reference stream: type, offset or stream number, index.
constexpr int rowTypeBytes = 1;
constexpr int rowWhereBytes = 4;
constexpr int rowIndexBytes = 2;
constexpr int rowBytes = rowTypeBytes + rowWhereBytes + rowIndexBytes;

void appendBigEndian(std::string& row, std::uint64_t value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
        row.push_back(static_cast<char>((value >> static_cast<unsigned>(shift)) & 0xffU));
    }
}

/// Rows as differences from the row above (PNG's Up filter), the usual way to store them.
std::string upFiltered(const std::string& rows) {
    constexpr std::size_t width = rowBytes;
    std::string filtered;
    filtered.reserve(rows.size() + rows.size() / width);
    for (std::size_t row = 0; row < rows.size(); row += width) {
        filtered.push_back(2);
        for (std::size_t column = 0; column < width; ++column) {
            const int above = row == 0 ? 0 : rows[row - width + column];
            filtered.push_back(static_cast<char>(rows[row + column] - above));
        }
    }
    return filtered;
}

} // namespace

std::string deflated(std::string_view bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<Bytef> packed(size);
    const std::vector<Bytef> plain(bytes.begin(), bytes.end());
    if (compress2(packed.data(), &size, plain.data(), static_cast<uLong>(plain.size()),
                  Z_DEFAULT_COMPRESSION) != Z_OK) {
        throw std::runtime_error("zlib cannot compress a stream");
    }
    return {packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)};
}

std::string literal(std::string_view text) {
    std::string result = "(";
    for (const char c : text) {
        if (c == '(' || c == ')' || c == '\\') {
            result.push_back('\\');
        }
        result.push_back(c);
    }
    result.push_back(')');
    return result;
}

std::string reference(int number) {
    return std::to_string(number) + " 0 R";
}

PdfFile::PdfFile(const std::filesystem::path& path, PdfLayout layout)
    : path_(path), layout_(layout), out_(path, std::ios::binary | std::ios::trunc), places_(1) {
    const char version = layout == PdfLayout::classic ? '4' : '5';
    write(std::string("%PDF-1.") + version + "\n%\xe2\xe3\xcf\xd3\n");
}

int PdfFile::reserve() {
    places_.emplace_back();
    return static_cast<int>(places_.size()) - 1;
}

PdfFile::Place& PdfFile::placeOf(int number) {
    return places_.at(static_cast<std::size_t>(number));
}

void PdfFile::write(std::string_view bytes) {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out_) {
        throw std::runtime_error("cannot write " + path_.string());
    }
    offset_ += bytes.size();
}

void PdfFile::beginAt(int number) {
    Place& place = placeOf(number);
    if (place.kind != Place::Kind::missing) {
        throw std::logic_error("object written twice: " + std::to_string(number));
    }
    place.kind = Place::Kind::inFile;
    place.where = offset_;
    write(std::to_string(number) + " 0 obj\n");
}

void PdfFile::put(int number, std::string_view object) {
    if (layout_ == PdfLayout::classic) {
        beginAt(number);
        write(object);
        write("\nendobj\n");
        return;
    }
    if (placeOf(number).kind != Place::Kind::missing) {
        throw std::logic_error("object written twice: " + std::to_string(number));
    }
    if (openStream_ == 0) {
        openStream_ = reserve();
    }
    Place& place = placeOf(number);
    place.kind = Place::Kind::inObjectStream;
    place.where = static_cast<std::uint64_t>(openStream_);
    place.index = openCount_++;
    openIndex_ += std::to_string(number) + ' ' + std::to_string(openBody_.size()) + ' ';
    openBody_ += object;
    openBody_ += '\n';
    if (openCount_ == objectsPerStream) {
        flushObjectStream();
    }
}

int PdfFile::add(std::string_view object) {
    const int number = reserve();
    put(number, object);
    return number;
}

void PdfFile::putFlateStream(int number, std::string_view dictionary, std::string_view bytes) {
    putStream(number, std::string(dictionary) + " /Filter /FlateDecode", deflated(bytes));
}

void PdfFile::putStream(int number, std::string_view dictionary, std::string_view bytes) {
    beginAt(number);
    write("<< ");
    write(dictionary);
    write(" /Length " + std::to_string(bytes.size()) + " >>\nstream\n");
    write(bytes);
    write("\nendstream\nendobj\n");
}

void PdfFile::flushObjectStream() {
    if (openStream_ == 0) {
        return;
    }
    putFlateStream(openStream_,
                   "/Type /ObjStm /N " + std::to_string(openCount_) + " /First " +
                       std::to_string(openIndex_.size()),
                   openIndex_ + openBody_);
    openStream_ = 0;
    openCount_ = 0;
    openIndex_.clear();
    openBody_.clear();
}

void PdfFile::finish(int catalog, int info) {
    flushObjectStream();
    for (std::size_t number = 1; number < places_.size(); ++number) {
        if (places_[number].kind == Place::Kind::missing) {
            throw std::logic_error("object reserved, never written: " + std::to_string(number));
        }
    }
    if (layout_ == PdfLayout::classic) {
        writeTable(catalog, info);
    } else {
        writeCrossReferenceStream(catalog, info);
    }
    out_.close();
    if (!out_) {
        throw std::runtime_error("cannot write " + path_.string());
    }
}

std::string PdfFile::trailerEntries(int catalog, int info) const {
    // The file identifier is the file name in hex, padded: fixed, and different for each file.
    std::string identifier;
    const std::string name = path_.filename().string();
    for (std::size_t i = 0; i < 16; ++i) {
        std::array<char, 3> hex{};
        const unsigned value = i < name.size() ? static_cast<unsigned char>(name[i]) : 0U;
        std::snprintf(hex.data(), hex.size(), "%02x", value & 0xffU);
        identifier += hex.data();
    }
    return "/Size " + std::to_string(places_.size()) + " /Root " + reference(catalog) + " /Info " +
           reference(info) + " /ID [<" + identifier + "> <" + identifier + ">]";
}

void PdfFile::writeTable(int catalog, int info) {
    const std::uint64_t start = offset_;
    write("xref\n0 " + std::to_string(places_.size()) + "\n0000000000 65535 f \n");
    for (std::size_t number = 1; number < places_.size(); ++number) {
        std::array<char, 32> row{};
        const auto where = static_cast<unsigned long long>(places_[number].where);
        std::snprintf(row.data(), row.size(), "%010llu 00000 n \n", where);
        write(row.data());
    }
    write("trailer\n<< " + trailerEntries(catalog, info) + " >>\nstartxref\n" +
          std::to_string(start) + "\n%%EOF\n");
}

void PdfFile::writeCrossReferenceStream(int catalog, int info) {
    const int self = reserve();
    const std::uint64_t start = offset_;
    placeOf(self) = {Place::Kind::inFile, start, 0};
    std::string rows;
    appendBigEndian(rows, 0, rowTypeBytes);
    appendBigEndian(rows, 0, rowWhereBytes);
    appendBigEndian(rows, 0xffff, rowIndexBytes);
    for (std::size_t number = 1; number < places_.size(); ++number) {
        const Place& place = places_[number];
        appendBigEndian(rows, place.kind == Place::Kind::inFile ? 1 : 2, rowTypeBytes);
        appendBigEndian(rows, place.where, rowWhereBytes);
        appendBigEndian(rows, static_cast<std::uint64_t>(place.index), rowIndexBytes);
    }
    const std::string bytes = deflated(upFiltered(rows));
    write(std::to_string(self) + " 0 obj\n<< /Type /XRef " + trailerEntries(catalog, info) +
          " /W [1 4 2] /Filter /FlateDecode /DecodeParms << /Predictor 12 /Columns " +
          std::to_string(rowBytes) + " >> /Length " + std::to_string(bytes.size()) +
          " >>\nstream\n");
    write(bytes);
    write("\nendstream\nendobj\nstartxref\n" + std::to_string(start) + "\n%%EOF\n");
}

} // namespace bench
