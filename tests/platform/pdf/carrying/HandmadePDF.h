#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// A PDF put together object by object, for documents that no program would write. Nothing is
/// added by itself but the file's frame: object 1 is the root of the page tree.
class HandmadePDF {
public:
    /// Adds an object and returns its number.
    std::size_t add(std::string body = "null");
    /// Adds a stream; `entries` are those of its dictionary beside /Length.
    std::size_t addStream(const std::string& entries, const std::string& data);
    /// Adds a page behind the others; returns its object's number.
    std::size_t addPage(const std::string& entries);
    /// Replaces an object.
    void set(std::size_t number, std::string body) { m_objects.at(number - 1) = std::move(body); }
    /// The number that the next object will have.
    [[nodiscard]] std::size_t next() const { return m_objects.size() + 1; }

    /// Writes the file, with more entries in its catalogue and in the root of its page tree.
    std::filesystem::path write(const std::filesystem::path& path,
                                const std::string& catalogEntries = "",
                                const std::string& treeEntries = "");

private:
    std::vector<std::string> m_objects{"null"};
    std::vector<std::size_t> m_pages;
};

/// Bytes that do not compress, the same at every call.
[[nodiscard]] std::string noise(std::size_t bytes);

/// The data of a /FlateDecode stream that decodes to so many zeros; a thousandth of them.
[[nodiscard]] std::string deflatedZeros(std::size_t bytes);

} // namespace quillorn::tests
