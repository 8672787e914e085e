#include "tests/platform/pdf/carrying/HandmadePDF.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <utility>
#include <zlib.h>

namespace quillorn::tests {

std::size_t HandmadePDF::add(std::string body) {
    m_objects.push_back(std::move(body));
    return m_objects.size();
}

std::size_t HandmadePDF::addStream(const std::string& entries, const std::string& data) {
    return add("<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" +
               data + "\nendstream");
}

std::size_t HandmadePDF::addPage(const std::string& entries) {
    m_pages.push_back(add("<< /Type /Page /Parent 1 0 R " + entries + " >>"));
    return m_pages.back();
}

std::filesystem::path HandmadePDF::write(const std::filesystem::path& path,
                                         const std::string& catalogEntries,
                                         const std::string& treeEntries) {
    std::string kids;
    for (const std::size_t page : m_pages) {
        kids += referenceTo(page) + " ";
    }
    set(1, "<< /Type /Pages /Count " + std::to_string(m_pages.size()) + " /Kids [" + kids +
               "] /MediaBox [0 0 612 792] " + treeEntries + " >>");
    const std::size_t catalog = add("<< /Type /Catalog /Pages 1 0 R " + catalogEntries + " >>");

    std::string file = "%PDF-1.7\n%\xe2\xe3\xcf\xd3\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        std::array<char, 32> line{};
        std::snprintf(line.data(), line.size(), "%010zu 00000 n \n", file.size());
        table += line.data();
        file += std::to_string(i + 1) + " 0 obj\n" + m_objects[i] + "\nendobj\n";
    }
    const std::string size = std::to_string(m_objects.size() + 1);
    const std::string start = std::to_string(file.size());
    file += "xref\n0 " + size + "\n" + table + "trailer\n<< /Size " + size + " /Root " +
            referenceTo(catalog) + " >>\nstartxref\n" + start + "\n%%EOF\n";
    writeFile(path, file);
    return path;
}

std::string noise(std::size_t bytes) {
    std::minstd_rand random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string data;
    data.reserve(bytes);
    while (data.size() < bytes) {
        data += static_cast<char>(byte(random));
    }
    return data;
}

std::string deflatedZeros(std::size_t bytes) {
    z_stream state{};
    if (deflateInit(&state, Z_BEST_SPEED) != Z_OK) {
        throw std::runtime_error("cannot deflate");
    }
    std::vector<unsigned char> zeros(1U << 20U);
    std::vector<unsigned char> block(1U << 16U);
    std::string data;
    int result = Z_OK;
    for (std::size_t fed = 0; result != Z_STREAM_END;) {
        if (state.avail_in == 0 && fed < bytes) {
            const std::size_t size = std::min(zeros.size(), bytes - fed);
            state.next_in = zeros.data();
            state.avail_in = static_cast<unsigned>(size);
            fed += size;
        }
        state.next_out = block.data();
        state.avail_out = static_cast<unsigned>(block.size());
        result = deflate(&state, fed == bytes ? Z_FINISH : Z_NO_FLUSH);
        data.append(block.begin(), block.end() - static_cast<std::ptrdiff_t>(state.avail_out));
    }
    deflateEnd(&state);
    return data;
}

} // namespace quillorn::tests
