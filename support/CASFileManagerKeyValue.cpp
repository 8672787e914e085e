#include "support/CASFileManager.h"

#include "support/detail/PreferenceFile.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

bool CASFileManager::SetKeyValue(const char* value, const char* key) {
    if (value == nullptr || key == nullptr || !ASIsUTF8(value) || !ASIsUTF8(key))
        return false;
    ASPropertyList text(plist_new_string(value));
    return ASChangePreference(ASApplicationPreferenceFile(), key, std::move(text));
}

const char* CASFileManager::GetKeyValue(const char* key) {
    if (key == nullptr)
        return nullptr;
    ASPropertyList dictionary;
    ASReadDictionary(ASApplicationPreferenceFile(), dictionary);
    const char* stored = dictionary == nullptr ? nullptr : ASDictionaryText(dictionary.get(), key);
    if (stored == nullptr)
        return nullptr;
    thread_local std::string text;
    text = stored;
    return text.c_str(); // NOLINT(clang-analyzer-cplusplus.InnerPointer): the thread's own until
                         // its next call
}

bool CASFileManager::SetKeyValue(const void* data, uint32_t size, const char* key) {
    if ((data == nullptr && size > 0) || key == nullptr || !ASIsUTF8(key))
        return false;
    const char* bytes = data == nullptr ? "" : static_cast<const char*>(data);
    ASPropertyList value(plist_new_data(bytes, size));
    return ASChangePreference(ASGlobalPreferenceFile(), key, std::move(value));
}

bool CASFileManager::GetKeyValue(void* buffer, uint32_t size, const char* key) {
    if ((buffer == nullptr && size > 0) || key == nullptr)
        return false;
    ASPropertyList dictionary;
    ASReadDictionary(ASGlobalPreferenceFile(), dictionary);
    plist_t item = dictionary == nullptr ? nullptr : plist_dict_get_item(dictionary.get(), key);
    if (item == nullptr || plist_get_node_type(item) != PLIST_DATA)
        return false;
    uint64_t stored = 0;
    const char* bytes = plist_get_data_ptr(item, &stored);
    const size_t length = std::min<uint64_t>(size, stored);
    if (bytes != nullptr && length > 0)
        std::memcpy(buffer, bytes, length);
    return true;
}

bool CASFileManager::RemoveKeyValue(const char* key) {
    return key != nullptr && ASChangePreference(ASGlobalPreferenceFile(), key, nullptr);
}
