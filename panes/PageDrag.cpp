#include "panes/PageDrag.h"

#include "model/FileNames.h"

#include <string>

namespace quillorn {

PageItems itemsAtIndexes(const PageItems& items, const IndexSet& indexes) {
    PageItems chosen;
    chosen.reserve(indexes.size());
    for (const std::size_t index : indexes) {
        chosen.push_back(items.at(index));
    }
    return chosen;
}

bool isPlaceholder(const PageItem& item) {
    return dynamic_cast<const blankItem*>(&item) != nullptr;
}

PageItems realPages(PageItems items) {
    std::erase_if(items,
                  [](const std::shared_ptr<PageItem>& item) { return isPlaceholder(*item); });
    return items;
}

std::size_t writePageDrag(const PageItems& items, const IndexSet& indexes, Pasteboard& pasteboard) {
    std::vector<std::string> extensions;
    extensions.reserve(indexes.size());
    for (const std::size_t index : indexes) {
        extensions.push_back(pathExtension(items.at(index)->imagePath()));
    }
    pasteboard.declareTypes(
        {std::string(pasteboard_type::pages), std::string(pasteboard_type::filenames)});
    pasteboard.setPropertyListForType(extensions, pasteboard_type::filenames);
    return indexes.size();
}

} // namespace quillorn
