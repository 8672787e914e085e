#include "platform/office/DocumentKind.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace quillorn {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view richTextMark = "{\\rtf";
constexpr std::string_view archiveMark = "PK\3\4";
constexpr std::string_view compoundMark = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
constexpr std::string_view word2Mark = "\xDB\xA5";

// In a compound file (what Word wrote before its XML).
constexpr std::size_t sectorShiftOffset = 30;
constexpr std::size_t entrySize = 128;
constexpr std::size_t entryStartOffset = 116;
constexpr unsigned smallestSectorShift = 7;
constexpr unsigned largestSectorShift = 16;
// In the head of a Word document, the first thing in its stream.
constexpr std::uint32_t wordMark = 0xA5EC;
constexpr std::uint32_t word95Mark = 0xA5DC;
constexpr std::size_t headFlagsOffset = 11;
constexpr unsigned char encryptedFlag = 0x01;
constexpr std::size_t headSize = 32;

unsigned byteAt(std::string_view bytes, std::size_t offset) {
    return offset < bytes.size() ? static_cast<unsigned char>(bytes[offset]) : 0U;
}

std::uint32_t numberAt(std::string_view bytes, std::size_t offset) {
    return byteAt(bytes, offset) | byteAt(bytes, offset + 1) << 8U |
           byteAt(bytes, offset + 2) << 16U | byteAt(bytes, offset + 3) << 24U;
}

/// Where the entry for a stream of this name is; entries begin at multiples of their size.
std::size_t findEntry(std::string_view file, std::string_view name) {
    std::string wide;
    for (const char letter : name) {
        wide += {letter, '\0'};
    }
    wide += "\0\0"sv;
    std::size_t found = file.find(wide);
    while (found != std::string_view::npos && found % entrySize != 0) {
        found = file.find(wide, found + 1);
    }
    return found;
}

/// The head of the Word document that an entry leads to; empty where that is nowhere.
std::string_view headOf(std::string_view file, std::size_t entry) {
    const unsigned shift = byteAt(file, sectorShiftOffset) | byteAt(file, sectorShiftOffset + 1)
                                                                 << 8U;
    if (shift < smallestSectorShift || shift > largestSectorShift) {
        return {};
    }
    const std::uint64_t sector = numberAt(file, entry + entryStartOffset);
    const std::uint64_t head = (sector + 1) << shift;
    return head + headSize <= file.size() ? file.substr(static_cast<std::size_t>(head), headSize)
                                          : std::string_view();
}

bool isWord95(std::string_view head) {
    return (numberAt(head, 0) & 0xFFFFU) == word95Mark;
}

bool isEncryptedWord(std::string_view head) {
    return ((numberAt(head, 0) & 0xFFFFU) == wordMark || isWord95(head)) &&
           (byteAt(head, headFlagsOffset) & encryptedFlag) != 0;
}

DocumentKind kindOfCompound(std::string_view file) {
    const std::size_t entry = findEntry(file, "WordDocument");
    return entry != std::string_view::npos && isWord95(headOf(file, entry)) ? DocumentKind::word95
                                                                            : DocumentKind::word;
}

std::string_view textOf(std::span<const char> bytes) {
    return {bytes.data(), bytes.size()};
}

std::optional<std::string_view> reasonAgainstCompound(std::string_view file) {
    if (findEntry(file, "EncryptedPackage") != std::string_view::npos) {
        return "it is locked with a password";
    }
    const std::size_t entry = findEntry(file, "WordDocument");
    if (entry == std::string_view::npos) {
        return "it holds no Word document";
    }
    if (isEncryptedWord(headOf(file, entry))) {
        return "it is locked with a password";
    }
    return std::nullopt;
}

/// What else people call a document, by its first bytes.
std::string_view reasonAgainstOther(std::string_view file) {
    struct Known {
        std::string_view mark;
        std::string_view reason;
    };
    constexpr std::array<Known, 6> known = {{
        {"%PDF-", "it is a PDF by another name"},
        {"\x89PNG", "it is an image by another name"},
        {"\xFF\xD8\xFF", "it is an image by another name"},
        {"<!DOCTYPE", "it is a web page by another name"},
        {"<html", "it is a web page by another name"},
        {"<?xml", "it is an XML file by another name"},
    }};
    for (const Known& type : known) {
        if (file.starts_with(type.mark)) {
            return type.reason;
        }
    }
    return "it is neither rich text nor a Word document";
}

} // namespace

DocumentKind documentKindOf(std::span<const char> document) {
    const std::string_view file = textOf(document);
    return file.starts_with(richTextMark)   ? DocumentKind::richText
           : file.starts_with(archiveMark)  ? DocumentKind::wordXML
           : file.starts_with(compoundMark) ? kindOfCompound(file)
           : file.starts_with(word2Mark)    ? DocumentKind::word2
                                            : DocumentKind::other;
}

std::optional<std::string_view> reasonAgainstDocument(std::span<const char> document) {
    const std::string_view file = textOf(document);
    if (file.empty()) {
        return "it is empty";
    }
    switch (documentKindOf(document)) {
    case DocumentKind::richText:
        return std::nullopt;
    case DocumentKind::wordXML:
        if (file.find("[Content_Types].xml") == std::string_view::npos ||
            file.find("word/") == std::string_view::npos) {
            return "it is an archive without a Word document";
        }
        return std::nullopt;
    case DocumentKind::word:
    case DocumentKind::word95:
        return reasonAgainstCompound(file);
    case DocumentKind::word2:
        return (byteAt(file, headFlagsOffset) & encryptedFlag) != 0
                   ? std::optional<std::string_view>("it is locked with a password")
                   : std::nullopt;
    case DocumentKind::other:
        break;
    }
    return reasonAgainstOther(file);
}

} // namespace quillorn
