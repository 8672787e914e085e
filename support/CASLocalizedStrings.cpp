#include "support/CASLocalizedStrings.h"

#include "support/detail/OpenFile.h"
#include "support/detail/Platform.h"
#include "support/detail/PropertyList.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Value of an environment variable without encoding and variant ("de_DE.UTF-8@euro").
std::string LocaleOf(const char* variable) {
    const char* value = std::getenv(variable);
    std::string locale = value == nullptr ? "" : value;
    return locale.substr(0, locale.find_first_of(".@:"));
}

std::string PreferredLocalization() {
    std::string locale;
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (locale.empty())
            locale = LocaleOf(variable);
    }
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return "en";
    const std::string language = LocaleOf("LANGUAGE");
    return language.empty() ? locale : language;
}

// Part `index` of the locale, or all of it when it has one part only.
const char* LocalePart(size_t index) {
    thread_local std::string part;
    const std::string locale = PreferredLocalization();
    const size_t first = locale.find('_');
    if (first == std::string::npos)
        part = locale;
    else if (index == 0)
        part = locale.substr(0, first);
    else
        part = locale.substr(first + 1, locale.find('_', first + 1) - first - 1);
    return part.c_str(); // NOLINT(clang-analyzer-cplusplus.InnerPointer): the thread's own until
                         // its next call
}

} // namespace

CASLocalizedStrings::CASLocalizedStrings(const char* tableName) {
    if (tableName == nullptr)
        return;
    ASPropertyList read;
    ASReadDictionary(ASResourceFolder() + "/" + tableName + ".plist", read);
    table = read.release();
}

CASLocalizedStrings::~CASLocalizedStrings() {
    const ASPropertyList owned(table);
}

const char* CASLocalizedStrings::getLocalizedString(const char* key, const char* /*section*/,
                                                    const char* defaultText) {
    if (key == nullptr)
        return "Error Key";
    const char* text = table == nullptr ? nullptr : ASDictionaryText(table, key);
    if (text != nullptr)
        return text;
    return defaultText != nullptr ? defaultText : key;
}

void CASLocalizedStrings::setLocalizedString(const char* key, const char* /*section*/,
                                             const char* value) {
    if (key == nullptr || value == nullptr || !ASIsUTF8(key) || !ASIsUTF8(value))
        return;
    if (table == nullptr)
        table = plist_new_dict();
    plist_dict_set_item(table, key, plist_new_string(value));
}

bool CASLocalizedStrings::saveLocalizeStrings(const char* path) {
    if (path == nullptr || table == nullptr)
        return false;
    char* text = nullptr;
    uint32_t size = 0;
    plist_to_xml(table, &text, &size);
    if (text == nullptr)
        return false;
    const ASOpenFile file(std::fopen(path, "wb"));
    const bool written = file != nullptr && std::fwrite(text, 1, size, file.get()) == size &&
                         std::fflush(file.get()) == 0;
    plist_to_xml_free(text);
    return written;
}

const char* CASLocalizedStrings::defaultLauguageID() {
    return LocalePart(0);
}

const char* CASLocalizedStrings::defaultLocaleID() {
    return LocalePart(1);
}

void CASLocalizedStrings::setLocaleID(const char* /*localeID*/) {}

void CASLocalizedStrings::setLauguageID(const char* /*languageID*/) {}
