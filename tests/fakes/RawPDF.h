#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// A PDF put together object by object, for files that are odd, damaged or hostile on purpose.
/// Bodies are written as they are given; nothing is checked.
class RawPDF {
public:
    /// Object `number` with its body, e.g. "<< /Type /Catalog >>".
    RawPDF& object(int number, const std::string& body);

    /// A stream with its /Length and `entries` in its dictionary.
    RawPDF& stream(int number, const std::string& entries, const std::string& data);

    /// An object stream of compressed objects, numbers with bodies.
    RawPDF& objectStream(int number, const std::vector<std::pair<int, std::string>>& objects);

    /// The cross-reference stream says that an object is the one at `index` in an object stream.
    RawPDF& compressed(int number, int stream, std::size_t index);

    /// The cross-reference table says that the object stands at this offset.
    RawPDF& claimOffset(int number, std::uint64_t offset);

    /// More entries of the trailer; it has /Size and "/Root 1 0 R" already.
    RawPDF& trailer(const std::string& entries);

    RawPDF& version(const std::string& version);

    /// With a cross-reference table, or with a stream when there are object streams.
    [[nodiscard]] std::string bytes() const;
    std::filesystem::path writeTo(const std::filesystem::path& path) const;

private:
    struct Place {
        int stream = 0;
        std::size_t index = 0;
    };

    std::map<int, std::string> m_objects;
    std::map<int, Place> m_compressed; ///< objects in object streams
    std::map<int, std::uint64_t> m_claims;
    std::string m_trailer;
    std::string m_version = "1.5";
};

/// `data` as the Flate filter stores it.
[[nodiscard]] std::string deflated(const std::string& data);

} // namespace quillorn::tests
