#include "tests/fakes/WordDocument.h"

#include <cstdint>
#include <utility>
#include <vector>
#include <zlib.h>

namespace quillorn::tests {

namespace {

void append(std::string& bytes, std::uint64_t number, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
        bytes.push_back(static_cast<char>((number >> (8 * i)) & 0xFFU));
    }
}

/// What a file's header and its entry in the archive's list have in common.
std::string facts(const std::string& name, const std::string& content) {
    std::string bytes;
    append(bytes, 10, 2); // version 1.0
    append(bytes, 0, 8);  // no flags, stored, no time and date
    const auto* const data = reinterpret_cast<const Bytef*>(content.data());
    append(bytes, ::crc32(0, data, static_cast<uInt>(content.size())), 4);
    append(bytes, content.size(), 4);
    append(bytes, content.size(), 4);
    append(bytes, name.size(), 2);
    append(bytes, 0, 2);
    return bytes;
}

/// A ZIP archive without compression.
std::string archive(const std::vector<std::pair<std::string, std::string>>& files) {
    std::string bytes;
    std::string list;
    for (const auto& [name, content] : files) {
        std::string entry = "PK\1\2";
        append(entry, 10, 2);
        entry += facts(name, content);
        append(entry, 0, 10); // no comment, first disk, no attributes
        append(entry, bytes.size(), 4);
        list += entry + name;
        bytes.append("PK\3\4").append(facts(name, content)).append(name).append(content);
    }
    const std::size_t start = bytes.size();
    bytes += list + "PK\5\6";
    append(bytes, 0, 4);
    append(bytes, files.size(), 2);
    append(bytes, files.size(), 2);
    append(bytes, list.size(), 4);
    append(bytes, start, 4);
    append(bytes, 0, 2);
    return bytes;
}

} // namespace

std::string wordDocument(const std::string& text) {
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";
    const std::string types = "http://schemas.openxmlformats.org/package/2006/content-types";
    const std::string relations = "http://schemas.openxmlformats.org/package/2006/relationships";
    const std::string office =
        "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument";
    const std::string word = "http://schemas.openxmlformats.org/wordprocessingml/2006/main";
    const std::string kind =
        "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml";
    return archive(
        {{"[Content_Types].xml",
          xml + R"(<Types xmlns=")" + types +
              R"("><Default Extension="rels" ContentType="application/vnd.openxmlformats-)"
              R"(package.relationships+xml"/><Override PartName="/word/document.xml" )"
              R"(ContentType=")" +
              kind + R"("/></Types>)"},
         {"_rels/.rels", xml + R"(<Relationships xmlns=")" + relations +
                             R"("><Relationship Id="r1" Type=")" + office +
                             R"(" Target="word/document.xml"/></Relationships>)"},
         {"word/document.xml", xml + R"(<w:document xmlns:w=")" + word +
                                   R"("><w:body><w:p><w:r><w:t>)" + text +
                                   "</w:t></w:r></w:p></w:body></w:document>"}});
}

} // namespace quillorn::tests
