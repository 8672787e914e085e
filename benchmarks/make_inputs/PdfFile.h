#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// How a file keeps its objects.
enum class PdfLayout {
    classic,      ///< PDF 1.4: every object in the open, one cross-reference table
    objectStreams ///< PDF 1.5: small objects in compressed object streams, cross-reference stream
};

/// Compresses with zlib's default level, as most producers do.
std::string deflated(std::string_view bytes);

/// A literal string object: (text), with the characters escaped that need it.
std::string literal(std::string_view text);

/// "12 0 R"
std::string reference(int number);

/// Writes one PDF file object by object.
///
/// It knows nothing but the file format's frame (objects, streams, cross references), so that the
/// inputs owe nothing to the libraries that the benchmarks compare. Objects go to disk as they
/// come; with object streams, small ones wait until a hundred are together. Numbers are handed out
/// by reserve() before the object is known, which is how pages, links and outline entries can refer
/// to each other. Not for use from two threads. Throws std::runtime_error when the disk refuses.
class PdfFile {
public:
    PdfFile(const std::filesystem::path& path, PdfLayout layout);

    int reserve();
    void put(int number, std::string_view object);
    int add(std::string_view object);

    /// dictionary holds the entries without << >>, Length and Filter.
    void putFlateStream(int number, std::string_view dictionary, std::string_view bytes);
    /// The bytes as they are; dictionary names their filter, if any.
    void putStream(int number, std::string_view dictionary, std::string_view bytes);

    /// Writes the cross references. Every reserved number must have its object by now.
    void finish(int catalog, int info);

private:
    struct Place {
        enum class Kind { missing, inFile, inObjectStream } kind = Kind::missing;
        std::uint64_t where = 0; ///< offset in the file, or the number of the object stream
        int index = 0;           ///< index in the object stream
    };

    void write(std::string_view bytes);
    void beginAt(int number);
    void flushObjectStream();
    void writeTable(int catalog, int info);
    void writeCrossReferenceStream(int catalog, int info);
    std::string trailerEntries(int catalog, int info) const;
    Place& placeOf(int number);

    std::filesystem::path path_;
    PdfLayout layout_;
    std::ofstream out_;
    std::uint64_t offset_ = 0;
    std::vector<Place> places_; ///< by object number; number 0 is the free list's head
    int openStream_ = 0;        ///< object stream that is being filled, 0 for none
    int openCount_ = 0;
    std::string openIndex_;
    std::string openBody_;
};

} // namespace bench
