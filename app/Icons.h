#pragma once

#include <QIcon>
#include <string_view>

namespace quillorn {

/// The program's own line icons. They are drawn, in the colours of the palette, whenever they are
/// painted, so they fit any scale and any theme and need no files.
///
/// Names: add, import, newGroup, save, folder, close, clear, copy, paste, selectAll, zoomIn,
/// zoomOut, collapse, expand, fullScreen, addToOutput, earlier, later, rotateRight, rotateLeft,
/// remove, rename, help, info, quit, messages. An unknown name gives an empty icon.
[[nodiscard]] QIcon lineIcon(std::string_view name);

} // namespace quillorn
