#pragma once

#include "support/CASObject.h"

// A table from key to text, read from a property list of the resource folder (ASPlatform.h) and
// written back. Texts are UTF-8.
//
//     CASLocalizedStrings strings("Messages");       // <resource folder>/Messages.plist
//     const char* text = strings.getLocalizedString("greeting", nullptr, "Hello");
//
// The locale is the environment's: the first entry of LANGUAGE if there is a locale at all, else
// LC_ALL, LC_MESSAGES or LANG, in the form language_COUNTRY; "en" without one (C and POSIX
// included). Threads: one at a time. Errors: the default text or the key stand for what is missing.
class CASLocalizedStrings : public CASObject {
public:
    /// Reads "<tableName>.plist", XML or binary; null or no such file gives no table.
    explicit CASLocalizedStrings(const char* tableName);
    ~CASLocalizedStrings() override;
    CASLocalizedStrings(const CASLocalizedStrings&) = delete;
    CASLocalizedStrings& operator=(const CASLocalizedStrings&) = delete;
    using CASObject::operator=;

    /// The text under `key`; `defaultText`, or without one the key itself, when it is missing;
    /// "Error Key" for a null key. Valid until the table changes. `section` is not used.
    const char* getLocalizedString(const char* key, const char* section, const char* defaultText);
    /// Stores a text, making the table if need be. Null and text that is not UTF-8 do nothing.
    void setLocalizedString(const char* key, const char* section, const char* value);
    /// Writes the table as an XML property list straight into the file (not atomically). True when
    /// it was written; a null path or no table writes nothing.
    bool saveLocalizeStrings(const char* path);

    /// First part of the locale: "en" of en_US, "fr" of fr. Valid until the thread's next call.
    const char* defaultLauguageID();
    /// Second part, if there is one: "US" of en_US, "fr" of fr. As above.
    const char* defaultLocaleID();
    /// Do nothing.
    void setLocaleID(const char* localeID);
    void setLauguageID(const char* languageID);

private:
    friend struct SupportLayoutProbe;

    void* table = nullptr; // property list dictionary, owned
};
