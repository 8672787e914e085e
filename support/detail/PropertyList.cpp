#include "support/detail/PropertyList.h"

#include "support/detail/OpenFile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace {

bool ReadAll(FILE* file, std::vector<char>& bytes) {
    constexpr size_t step = size_t{64} * 1024;
    size_t taken = 0;
    do {
        bytes.resize(bytes.size() + step);
        taken = std::fread(bytes.data() + bytes.size() - step, 1, step, file);
        bytes.resize(bytes.size() - step + taken);
    } while (taken == step && bytes.size() < std::numeric_limits<uint32_t>::max() / 2);
    return std::ferror(file) == 0;
}

// Length of the UTF-8 sequence that starts here, 0 when it is not one.
size_t SequenceLength(const unsigned char* text) {
    const unsigned first = text[0];
    if (first < 0x80)
        return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0U) != 0x80U)
            return 0;
    }
    const unsigned second = text[1];
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second > 0x9F;
    const bool beyond = first == 0xF4 && second > 0x8F;
    return overlong || surrogate || beyond ? 0 : length;
}

} // namespace

ASPropertyListState ASReadDictionary(const std::string& path, ASPropertyList& dictionary) {
    dictionary.reset();
    const ASOpenFile file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr)
        return errno == ENOENT ? ASPropertyListState::Missing : ASPropertyListState::Unreadable;
    std::vector<char> bytes;
    if (!ReadAll(file.get(), bytes))
        return ASPropertyListState::Unreadable;
    if (bytes.empty())
        return ASPropertyListState::Damaged;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    ASPropertyList read(root);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT)
        return ASPropertyListState::Damaged;
    dictionary = std::move(read);
    return ASPropertyListState::Read;
}

const char* ASDictionaryText(plist_t dictionary, const char* key) {
    plist_t item = plist_dict_get_item(dictionary, key);
    if (item == nullptr || plist_get_node_type(item) != PLIST_STRING)
        return nullptr;
    return plist_get_string_ptr(item, nullptr);
}

bool ASIsUTF8(const char* text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    while (*bytes != 0) {
        const size_t length = SequenceLength(bytes);
        if (length == 0)
            return false;
        bytes += length;
    }
    return true;
}
