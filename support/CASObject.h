#pragma once

#include "support/ASLog.h"

// Root of the support library's classes: a virtual table and no data.
// The library uses no exceptions: false, -1, 0 or null and a log line report failures.
//
// Assignment is virtual. A subclass that is compiled with -Woverloaded-virtual says
// `using CASObject::operator=;` (or its own base's), as this library's classes do.
class CASObject {
public:
    CASObject() = default;
    CASObject(const CASObject&) = default;
    virtual ~CASObject() = default;

    /// Copies nothing; returns the object.
    virtual CASObject& operator=(const CASObject& other);
    /// Always true: objects without data do not differ.
    virtual bool operator==(const CASObject& other) const;

    /// Logs "ERR:", "WAR:" or "INFO:" directly followed by the message (cut at 1,023 bytes
    /// together). Any thread.
    static void LogMessage(ASLogType type, const char* format, ...)
        __attribute__((format(printf, 2, 3)));
};
