#pragma once

#include "platform/ui/Controls.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn {

struct Toolbar {
    enum class DisplayMode { iconAndLabel = 1 };

    std::string identifier;
    bool allowsUserCustomization = false;
    bool autosavesConfiguration = false;
    DisplayMode displayMode = DisplayMode::iconAndLabel;
    bool operator==(const Toolbar&) const = default;
};

struct ToolbarItem {
    std::string identifier;
    std::string label;
    std::string paletteLabel;
    std::string toolTip;
    Button* view = nullptr; ///< a button of the window, which goes on owning it
};

/// Identifiers of what every toolbar can have besides items.
namespace toolbar_identifier {
inline constexpr std::string_view separator = "NSToolbarSeparatorItem";
inline constexpr std::string_view space = "NSToolbarSpaceItem";
inline constexpr std::string_view flexibleSpace = "NSToolbarFlexibleSpaceItem";
} // namespace toolbar_identifier

/// Tells what is in a toolbar.
class ToolbarDelegate {
public:
    virtual ~ToolbarDelegate() = default;
    [[nodiscard]] virtual std::vector<std::string> toolbarDefaultItemIdentifiers() const = 0;
    [[nodiscard]] virtual std::vector<std::string> toolbarAllowedItemIdentifiers() const = 0;
    /// A new item at every call; none for an identifier that is not the delegate's own.
    [[nodiscard]] virtual std::optional<ToolbarItem>
    toolbarItemForItemIdentifier(std::string_view identifier) = 0;
};

} // namespace quillorn
