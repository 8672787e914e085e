#pragma once

#include <string_view>

namespace quillorn::architecture {

/// Whether an include path names a header of Qt Widgets: <QWidget>,
/// <QtWidgets/QWidget> or <qwidget.h>.
bool isQtWidgetsHeader(std::string_view path);

} // namespace quillorn::architecture
