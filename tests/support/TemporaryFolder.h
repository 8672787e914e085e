#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

// A folder for one test, removed with all it holds. Any user may look into it. Throws
// std::runtime_error where the folder, or a file in it, cannot be written.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "support_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder like " + name);
        }
        m_path = name;
        std::filesystem::permissions(m_path, std::filesystem::perms(0755));
    }
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

    std::string write(const std::string& name, const std::string& bytes) const {
        std::string file = *this / name;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream stream(file, std::ios::binary);
        stream << bytes;
        stream.close();
        if (!stream) {
            throw std::runtime_error("cannot write " + file);
        }
        return file;
    }

    /// A path of exactly `length` bytes in this folder; its folders exist, the file does not.
    std::string pathOfLength(size_t length) const {
        std::string longPath = m_path;
        while (length - longPath.size() > 256) {
            longPath +=
                "/" + std::string(std::min<size_t>(200, length - longPath.size() - 50), 'd');
            std::filesystem::create_directory(longPath);
        }
        return longPath + "/" + std::string(length - longPath.size() - 1, 'f');
    }

private:
    std::string m_path;
};

inline std::string ReadFile(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}
