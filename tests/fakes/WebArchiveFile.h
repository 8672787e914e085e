#pragma once

#include <string>
#include <vector>

namespace quillorn::tests {

/// What a web archive holds, for tests that make some.
struct ArchivedResource {
    std::string url;
    std::string mimeType;
    std::string data;
    std::string encoding; ///< left out when empty
};

struct ArchivedPage {
    ArchivedResource main;
    std::vector<ArchivedResource> resources;
    std::vector<ArchivedPage> frames;
};

/// The archive as an XML property list.
[[nodiscard]] std::string xmlWebArchive(const ArchivedPage& page);

/// The same as a binary one, made by Python's own library.
[[nodiscard]] std::string binaryWebArchive(const ArchivedPage& page);

} // namespace quillorn::tests
