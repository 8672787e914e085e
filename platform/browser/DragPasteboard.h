#pragma once

#include "platform/browser/ImageBrowser.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QMimeData;

namespace quillorn {

/// What a drag inside this program carries.
class DragPasteboard : public Pasteboard {
public:
    void declareTypes(const std::vector<std::string>& types) override;
    void setPropertyListForType(const std::vector<std::string>& list,
                                std::string_view type) override;
    [[nodiscard]] std::vector<std::string> types() const override { return m_types; }
    [[nodiscard]] std::vector<std::string>
    propertyListForType(std::string_view type) const override;

private:
    std::vector<std::string> m_types;
    std::map<std::string, std::vector<std::string>, std::less<>> m_lists;
};

/// What the desktop is told of a drag of pages: our own type, and nothing that another
/// program could take for files.
[[nodiscard]] std::unique_ptr<QMimeData> mimeDataOfPages();

/// Whether this is what mimeDataOfPages tells.
[[nodiscard]] bool hasPages(const QMimeData& data);

/// A drag that comes from another program: the local files in it, as absolute paths. Pages of
/// another instance of this program are none of ours, so they are left out.
[[nodiscard]] DragPasteboard pasteboardOfFiles(const QMimeData& data);

} // namespace quillorn
