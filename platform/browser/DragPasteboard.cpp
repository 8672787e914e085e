#include "platform/browser/DragPasteboard.h"

#include <QFile>
#include <QMimeData>
#include <QString>
#include <QUrl>

namespace quillorn {

void DragPasteboard::declareTypes(const std::vector<std::string>& types) {
    m_types = types;
    m_lists.clear();
}

void DragPasteboard::setPropertyListForType(const std::vector<std::string>& list,
                                            std::string_view type) {
    m_lists.insert_or_assign(std::string(type), list);
}

std::vector<std::string> DragPasteboard::propertyListForType(std::string_view type) const {
    const auto found = m_lists.find(type);
    return found != m_lists.end() ? found->second : std::vector<std::string>();
}

namespace {

QString pagesType() {
    return QString::fromUtf8(pasteboard_type::pages.data(),
                             static_cast<qsizetype>(pasteboard_type::pages.size()));
}

} // namespace

std::unique_ptr<QMimeData> mimeDataOfPages() {
    auto data = std::make_unique<QMimeData>();
    data->setData(pagesType(), QByteArray("pages"));
    return data;
}

bool hasPages(const QMimeData& data) {
    return data.hasFormat(pagesType());
}

DragPasteboard pasteboardOfFiles(const QMimeData& data) {
    std::vector<std::string> paths;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) {
            // As the file system has it, whatever its encoding.
            paths.push_back(QFile::encodeName(url.toLocalFile()).toStdString());
        }
    }
    DragPasteboard pasteboard;
    if (!paths.empty()) {
        pasteboard.declareTypes({std::string(pasteboard_type::filenames)});
        pasteboard.setPropertyListForType(paths, pasteboard_type::filenames);
    }
    return pasteboard;
}

} // namespace quillorn
