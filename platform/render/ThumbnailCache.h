#pragma once

#include "platform/render/Thumbnail.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>

namespace quillorn {

/// Keeps thumbnails up to a number of bytes, and lets those go first that nobody asked for the
/// longest. It holds no source open: what belongs to a closed one is found no more, and goes
/// with the rest. Finding costs O(log n). One thread.
class ThumbnailCache {
public:
    explicit ThumbnailCache(std::size_t mostBytes) : m_mostBytes(mostBytes) {}

    void insert(const ThumbnailRequest& request, std::shared_ptr<const Thumbnail> thumbnail);
    /// Null when there is none.
    [[nodiscard]] std::shared_ptr<const Thumbnail> find(const ThumbnailRequest& request);
    /// The picture of the same page at the size that comes nearest, for the time until the right
    /// one is there.
    [[nodiscard]] std::shared_ptr<const Thumbnail> findNearest(const ThumbnailRequest& request);
    /// Lets go of what belongs to sources that are closed.
    void removeClosed();

    [[nodiscard]] std::size_t bytes() const { return m_bytes; }

private:
    struct Key {
        std::weak_ptr<const PDFSource> source;
        std::size_t page = 0;
        int rotation = 0;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
    };
    /// Sources are told apart by their owners, which stay apart after they are gone; addresses
    /// would be used again.
    struct Before {
        bool operator()(const Key& a, const Key& b) const;
    };
    struct Entry {
        std::shared_ptr<const Thumbnail> thumbnail;
        std::list<Key>::iterator use;
    };
    using Entries = std::map<Key, Entry, Before>;

    [[nodiscard]] static Key keyOf(const ThumbnailRequest& request);
    [[nodiscard]] static std::size_t bytesOf(const Thumbnail& thumbnail);
    void remove(Entries::iterator entry);

    std::size_t m_mostBytes;
    std::size_t m_bytes = 0;
    Entries m_entries;
    std::list<Key> m_uses; ///< the latest first
};

} // namespace quillorn
