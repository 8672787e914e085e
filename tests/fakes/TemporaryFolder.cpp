#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <ios>
#include <stdexcept>
#include <system_error>

namespace quillorn::tests {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : TemporaryFolder(fs::temp_directory_path()) {}

TemporaryFolder::TemporaryFolder(const fs::path& base) {
    std::string name = (base / "quillorn-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a folder like " + name);
    }
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // a test that failed may have left it odd
    fs::remove_all(m_path, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
    return namesIn(m_path);
}

void writeFile(const fs::path& path, std::string_view content) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string content(fs::file_size(path), '\0');
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return content;
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace quillorn::tests
