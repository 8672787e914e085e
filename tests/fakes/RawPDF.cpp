#include "tests/fakes/RawPDF.h"

#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <stdexcept>
#include <zlib.h>

namespace quillorn::tests {

namespace {

std::string streamBody(const std::string& entries, const std::string& data) {
    return "<< /Length " + std::to_string(data.size()) + " " + entries + " >>\nstream\n" + data +
           "\nendstream";
}

/// `value` as `bytes` bytes, the highest first.
std::string bigEndian(std::uint64_t value, int bytes) {
    std::string text;
    for (int byte = bytes - 1; byte >= 0; --byte) {
        const bool inRange = byte < static_cast<int>(sizeof value);
        text +=
            inRange ? static_cast<char>(value >> (8U * static_cast<unsigned>(byte)) & 0xffU) : '\0';
    }
    return text;
}

std::string tableLine(std::uint64_t offset, bool used) {
    std::string line = std::to_string(offset);
    line.insert(0, 10 - line.size(), '0');
    return line + (used ? " 00000 n \n" : " 65535 f \n");
}

} // namespace

RawPDF& RawPDF::object(int number, const std::string& body) {
    m_objects[number] = body;
    return *this;
}

RawPDF& RawPDF::stream(int number, const std::string& entries, const std::string& data) {
    return object(number, streamBody(entries, data));
}

RawPDF& RawPDF::objectStream(int number, const std::vector<std::pair<int, std::string>>& objects) {
    std::string index;
    std::string bodies;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const auto& [own, body] = objects[i];
        index += std::to_string(own) + " " + std::to_string(bodies.size()) + " ";
        bodies += body + "\n";
        compressed(own, number, i);
    }
    return stream(number,
                  "/Type /ObjStm /N " + std::to_string(objects.size()) + " /First " +
                      std::to_string(index.size()) + " /Filter /FlateDecode",
                  deflated(index + bodies));
}

RawPDF& RawPDF::compressed(int number, int stream, std::size_t index) {
    m_compressed[number] = Place{stream, index};
    return *this;
}

RawPDF& RawPDF::claimOffset(int number, std::uint64_t offset) {
    m_claims[number] = offset;
    return *this;
}

RawPDF& RawPDF::trailer(const std::string& entries) {
    m_trailer += " " + entries;
    return *this;
}

RawPDF& RawPDF::version(const std::string& version) {
    m_version = version;
    return *this;
}

std::string RawPDF::bytes() const {
    std::string file = "%PDF-" + m_version + "\n%\xe2\xe3\xcf\xd3\n";
    std::map<int, std::uint64_t> offsets;
    for (const auto& [number, body] : m_objects) {
        const auto claim = m_claims.find(number);
        offsets[number] = claim == m_claims.end() ? file.size() : claim->second;
        file += std::to_string(number) + " 0 obj\n" + body + "\nendobj\n";
    }
    for (const auto& [number, offset] : m_claims) {
        offsets.emplace(number, offset);
    }
    int size = offsets.empty() ? 1 : offsets.rbegin()->first + 1;
    if (!m_compressed.empty()) {
        size = std::max(size, m_compressed.rbegin()->first + 1);
    }
    const std::string start = std::to_string(file.size());
    if (m_compressed.empty()) {
        file += "xref\n0 " + std::to_string(size) + "\n" + tableLine(0, false);
        for (int number = 1; number < size; ++number) {
            const auto found = offsets.find(number);
            file += found == offsets.end() ? tableLine(0, false) : tableLine(found->second, true);
        }
        file += "trailer\n<< /Size " + std::to_string(size) + " /Root 1 0 R" + m_trailer + " >>\n";
    } else {
        offsets[size] = file.size(); // the cross-reference stream itself
        std::string entries;
        for (int number = 0; number <= size; ++number) {
            const auto place = m_compressed.find(number);
            const auto offset = offsets.find(number);
            if (place != m_compressed.end()) {
                entries += bigEndian(2, 1) +
                           bigEndian(static_cast<std::uint64_t>(place->second.stream), 8) +
                           bigEndian(place->second.index, 4);
            } else if (offset != offsets.end()) {
                entries += bigEndian(1, 1) + bigEndian(offset->second, 8) + bigEndian(0, 4);
            } else {
                entries += bigEndian(0, 13);
            }
        }
        file += std::to_string(size) + " 0 obj\n" +
                streamBody("/Type /XRef /W [1 8 4] /Root 1 0 R /Size " + std::to_string(size + 1) +
                               m_trailer,
                           entries) +
                "\nendobj\n";
    }
    return file + "startxref\n" + start + "\n%%EOF\n";
}

std::filesystem::path RawPDF::writeTo(const std::filesystem::path& path) const {
    writeFile(path, bytes());
    return path;
}

std::string deflated(const std::string& data) {
    uLongf length = ::compressBound(data.size());
    std::string packed(length, '\0');
    if (::compress2(reinterpret_cast<Bytef*>(packed.data()), &length,
                    reinterpret_cast<const Bytef*>(data.data()), data.size(),
                    Z_BEST_COMPRESSION) != Z_OK) {
        throw std::runtime_error("cannot deflate");
    }
    packed.resize(length);
    return packed;
}

} // namespace quillorn::tests
