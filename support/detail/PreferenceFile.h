#pragma once

#include "support/detail/PropertyList.h"

#include <string>

/// File of the running program's own preferences, and of those all programs of the user share.
std::string ASApplicationPreferenceFile();
std::string ASGlobalPreferenceFile();

/// Puts `value` under `key` (null: removes the key), reading, changing and replacing the file as
/// one step for all threads and programs. A damaged file is started anew; a file that cannot be
/// read is left alone. False when the change is not on disk.
bool ASChangePreference(const std::string& path, const char* key, ASPropertyList value);
