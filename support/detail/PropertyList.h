#pragma once

#include <plist/plist.h>

#include <memory>
#include <string>

struct ASPropertyListFree {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
/// A property list that is owned.
using ASPropertyList = std::unique_ptr<void, ASPropertyListFree>;

/// Outcome of reading a property list file.
enum class ASPropertyListState { Read, Missing, Unreadable, Damaged };

/// Reads a dictionary (XML or binary) into `dictionary`; it is null unless the state is Read.
ASPropertyListState ASReadDictionary(const std::string& path, ASPropertyList& dictionary);

/// The text under a key, owned by the dictionary; null when there is none.
const char* ASDictionaryText(plist_t dictionary, const char* key);

/// Whether the text is well-formed UTF-8, as property lists need it.
bool ASIsUTF8(const char* text);
