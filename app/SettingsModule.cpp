#include "platform/ui/SettingsPreferences.h"

#include <memory>

/// What StoredPreferences.cpp looks up by name. The caller owns the answer.
extern "C" quillorn::Preferences* quillornOpenPreferences() {
    return std::make_unique<quillorn::SettingsPreferences>().release();
}
