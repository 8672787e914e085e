#include "platform/render/ThumbnailCache.h"

#include <iterator>
#include <tuple>
#include <utility>

namespace quillorn {

ThumbnailRequest ThumbnailRequest::of(const PDFPageReference& page, std::uint32_t width,
                                      std::uint32_t height) {
    constexpr int fullTurn = 360;
    constexpr int quarterTurn = 90;
    const int turned = (page.addedRotation % fullTurn + fullTurn) % fullTurn;
    return {page.source, page.index, turned - turned % quarterTurn, width, height};
}

bool ThumbnailCache::Before::operator()(const Key& a, const Key& b) const {
    if (a.source.owner_before(b.source) || b.source.owner_before(a.source)) {
        return a.source.owner_before(b.source);
    }
    return std::tie(a.page, a.rotation, a.width, a.height) <
           std::tie(b.page, b.rotation, b.width, b.height);
}

ThumbnailCache::Key ThumbnailCache::keyOf(const ThumbnailRequest& request) {
    return {request.source, request.page, request.rotation, request.width, request.height};
}

std::size_t ThumbnailCache::bytesOf(const Thumbnail& thumbnail) {
    constexpr std::size_t bookkeeping = 300; // of an entry, roughly
    return thumbnail.pixels.size() * sizeof(std::uint32_t) + bookkeeping;
}

void ThumbnailCache::insert(const ThumbnailRequest& request,
                            std::shared_ptr<const Thumbnail> thumbnail) {
    Key key = keyOf(request);
    if (const auto old = m_entries.find(key); old != m_entries.end()) {
        remove(old);
    }
    m_bytes += bytesOf(*thumbnail);
    m_uses.push_front(key);
    m_entries.emplace(std::move(key), Entry{std::move(thumbnail), m_uses.begin()});
    // The newest always stays, or a picture larger than all would be drawn over and over.
    while (m_bytes > m_mostBytes && m_uses.size() > 1) {
        remove(m_entries.find(m_uses.back()));
    }
}

std::shared_ptr<const Thumbnail> ThumbnailCache::find(const ThumbnailRequest& request) {
    const auto found = m_entries.find(keyOf(request));
    if (found == m_entries.end()) {
        return nullptr;
    }
    m_uses.splice(m_uses.begin(), m_uses, found->second.use);
    return found->second.thumbnail;
}

std::shared_ptr<const Thumbnail> ThumbnailCache::findNearest(const ThumbnailRequest& request) {
    const Key key = keyOf(request);
    const auto isSamePage = [&key](const Key& other) {
        return !key.source.owner_before(other.source) && !other.source.owner_before(key.source) &&
               key.page == other.page && key.rotation == other.rotation;
    };
    // The larger neighbour first: making smaller looks better than making larger.
    const auto at = m_entries.lower_bound(key);
    if (at != m_entries.end() && isSamePage(at->first)) {
        return at->second.thumbnail;
    }
    if (at != m_entries.begin() && isSamePage(std::prev(at)->first)) {
        return std::prev(at)->second.thumbnail;
    }
    return nullptr;
}

void ThumbnailCache::removeClosed() {
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        const auto next = std::next(entry);
        if (entry->first.source.expired()) {
            remove(entry);
        }
        entry = next;
    }
}

void ThumbnailCache::remove(Entries::iterator entry) {
    m_bytes -= bytesOf(*entry->second.thumbnail);
    m_uses.erase(entry->second.use);
    m_entries.erase(entry);
}

} // namespace quillorn
