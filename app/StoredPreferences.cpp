#include "app/StoredPreferences.h"

#include "app/ProgramModule.h"

#include <utility>

namespace quillorn {

FileResult<std::unique_ptr<Preferences>> openStoredPreferences() {
    auto function = functionInModule("quillorn-settings.so", "quillornOpenPreferences");
    if (!function) {
        return tl::unexpected(std::move(function.error()));
    }
    const auto open = reinterpret_cast<Preferences* (*)()>(*function);
    return std::unique_ptr<Preferences>(open());
}

} // namespace quillorn
