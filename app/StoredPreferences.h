#pragma once

#include "platform/files/FileError.h"
#include "platform/ui/Preferences.h"

#include <memory>

namespace quillorn {

/// Opens the user's preferences (SettingsPreferences.h) through the module
/// "quillorn-settings.so", which stands beside the program.
///
/// A module, because the library behind it takes longer to load than most commands take to run,
/// and few of them look at a preference. The module stays loaded. Any thread. The error names
/// the module when it is missing or does not fit.
[[nodiscard]] FileResult<std::unique_ptr<Preferences>> openStoredPreferences();

} // namespace quillorn
