#include "platform/pdf/ResourcePruner.h"

#include "platform/pdf/BoundedData.h"
#include "platform/pdf/ResourceWeight.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

/// Bytes that may be read in all: a fixed allowance, and so many times the file. Contents pack to a
/// tenth; what packs to a thousandth was made to waste time, and so was what is named a thousand
/// times. What streams state of their own size is no measure: it may be anything.
constexpr std::uint64_t smallestAllowance = 4U << 20U;
constexpr std::uint64_t mostExpansion = 20;

/// Looking at an entry of a dictionary or a list takes as long as reading so many bytes.
constexpr std::uint64_t bytesPerEntry = 64;

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// A name as it stands in contents, with the characters that it gives by their codes.
std::string plainName(std::string_view name) {
    std::string plain;
    plain.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool mayBeCode = name[i] == '#' && i + 2 < name.size();
        const int high = mayBeCode ? hexValue(name[i + 1]) : -1;
        const int low = mayBeCode ? hexValue(name[i + 2]) : -1;
        if (high >= 0 && low >= 0) {
            plain += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            plain += name[i];
        }
    }
    return plain;
}

/// Calls `use` with every name that stands in contents, until it answers false. What merely looks
/// like a name, inside a string or a picture, counts too.
template <class Use>
void forEachName(std::string_view contents, Use&& use) {
    constexpr std::string_view ends = std::string_view(" \t\r\n\f\0/<>[](){}%", 16);
    std::size_t slash = contents.find('/');
    while (slash != std::string_view::npos) {
        const std::size_t end = std::min(contents.find_first_of(ends, slash + 1), contents.size());
        const std::string_view name = contents.substr(slash, end - slash);
        const bool goesOn =
            name.find('#') == std::string_view::npos ? use(name) : use(plainName(name));
        if (!goesOn) {
            return;
        }
        slash = contents.find('/', end);
    }
}

std::vector<QPDFObjectHandle> streamsIn(QPDFObjectHandle value) {
    if (value.isStream()) {
        return {value};
    }
    std::vector<QPDFObjectHandle> streams;
    if (value.isArray()) {
        streams = value.getArrayAsVector();
    } else if (value.isDictionary()) {
        for (const auto& [key, item] : value.getDictAsMap()) {
            streams.push_back(item);
        }
    }
    return streams;
}

class Pruner {
public:
    Pruner(QPDF& document, std::uint64_t fileBytes)
        : m_document(document), m_allowance(smallestAllowance + mostExpansion * fileBytes) {}

    void addPage(const QPDFObjectHandle& page, const QPDFObjectHandle& resources) {
        Shelf* shelf = shelfOf(resources);
        if (shelf != nullptr && !shelf->wanted.empty()) {
            m_drawers.push_back({page, shelf, true});
        }
    }

    void run() {
        while (!m_drawers.empty() && m_allowance > 0) {
            const Drawer drawer = m_drawers.back();
            m_drawers.pop_back();
            read(drawer);
        }
        if (m_allowance == 0) {
            return; // what is in use is not known, so everything stays
        }
        for (auto& [dictionary, shelf] : m_shelves) {
            if (!shelf.wanted.empty()) {
                shelf.smaller = without(shelf);
                if (shelf.holders.size() > 1) {
                    // Shared as before. Only then, since libqpdf reads all of a document before
                    // it makes a new object in it.
                    shelf.smaller = m_document.makeIndirectObject(shelf.smaller);
                }
                for (QPDFObjectHandle& holder : shelf.holders) {
                    holder.replaceKey("/Resources", shelf.smaller);
                }
            }
        }
    }

    [[nodiscard]] QPDFObjectHandle result(const QPDFObjectHandle& resources) const {
        const auto found = m_shelves.find(resources.getObjectPtr());
        return found == m_shelves.end() || !found->second.smaller.isInitialized()
                   ? resources
                   : found->second.smaller;
    }

private:
    /// A dictionary of resources that something draws with.
    struct Shelf {
        QPDFObjectHandle dictionary;
        HeavyResources wanted;                 ///< not seen in use
        std::vector<QPDFObjectHandle> holders; ///< dictionaries that name it
        QPDFObjectHandle smaller;
    };
    /// Contents, and what they draw with.
    struct Drawer {
        QPDFObjectHandle contents;
        Shelf* shelf;
        bool isPage;
    };

    void spend(std::uint64_t bytes) { m_allowance -= std::min(bytes, m_allowance); }
    void spendOnEntries(std::size_t count) { spend((count + 1) * bytesPerEntry); }

    /// Null for what is no dictionary, and when the allowance is spent.
    Shelf* shelfOf(const QPDFObjectHandle& dictionary) {
        if (m_allowance == 0 || !QPDFObjectHandle(dictionary).isDictionary()) {
            return nullptr;
        }
        const auto [place, isNew] = m_shelves.try_emplace(dictionary.getObjectPtr());
        if (isNew) {
            place->second.dictionary = dictionary;
            spendOnEntries(resourceCount(dictionary));
            place->second.wanted = heavyResources(dictionary);
        }
        return &place->second;
    }

    void read(const Drawer& drawer) {
        Shelf& shelf = *drawer.shelf;
        if (shelf.wanted.empty()) {
            return; // all of it is in use already
        }
        const auto contents = decoded(drawer);
        if (!contents) {
            useAll(shelf);
            return;
        }
        forEachName(*contents, [&](std::string_view name) {
            use(shelf, name);
            return !shelf.wanted.empty();
        });
        if (drawer.isPage && !shelf.wanted.empty()) {
            addBorrowingAnnotations(drawer);
        }
    }

    std::optional<std::string> decoded(const Drawer& drawer) {
        QPDFObjectHandle object = drawer.contents;
        const auto streams = streamsIn(drawer.isPage ? object.getKey("/Contents") : object);
        spendOnEntries(streams.size());
        for (const QPDFObjectHandle& stream : streams) {
            spend(storedLength(stream)); // it is read, whatever comes out of it
        }
        std::size_t produced = 0;
        auto contents = decodedData(object, m_allowance, drawer.isPage, &produced);
        spend(produced);
        return contents;
    }

    void use(Shelf& shelf, std::string_view name) {
        const auto [first, last] = shelf.wanted.equal_range(name);
        if (first == last) {
            return;
        }
        std::vector<HeavyResource> used;
        for (auto entry = first; entry != last; ++entry) {
            used.push_back(entry->second);
        }
        shelf.wanted.erase(first, last);
        for (const HeavyResource& resource : used) {
            follow(resource, shelf);
        }
    }

    void useAll(Shelf& shelf) {
        const auto all = std::exchange(shelf.wanted, {});
        for (const auto& [name, resource] : all) {
            follow(resource, shelf);
        }
    }

    /// What a resource in use draws itself.
    void follow(const HeavyResource& resource, Shelf& shelf) {
        QPDFObjectHandle object = resource.object;
        if (resource.category == "/ExtGState") {
            object = object.getKey("/SMask").getKeyIfDict("/G");
        }
        if (resource.category == "/Font") {
            if (object.getKeyIfDict("/Subtype").isNameAndEquals("/Type3")) {
                addDrawers(object, streamsIn(object.getKey("/CharProcs")), shelf);
            }
        } else if (object.isStream() && !isPicture(resource)) {
            addDrawers(object.getDict(), {object}, shelf);
        }
    }

    /// Streams that are no contents: images, and colours given by numbers.
    static bool isPicture(const HeavyResource& resource) {
        if (resource.category == "/XObject") {
            QPDFObjectHandle object = resource.object;
            return !object.getDict().getKey("/Subtype").isNameAndEquals("/Form");
        }
        return resource.category == "/Shading" || resource.category == "/ColorSpace";
    }

    /// `holder` may name resources; what names none draws with those of its surroundings.
    void addDrawers(QPDFObjectHandle holder, const std::vector<QPDFObjectHandle>& streams,
                    Shelf& surroundings) {
        Shelf* own = shelfOf(holder.getKey("/Resources"));
        if (own != nullptr && m_seen.insert(holder.getObjectPtr()).second) {
            own->holders.push_back(holder);
        } else if (own != nullptr) {
            return;
        }
        spendOnEntries(streams.size());
        for (const QPDFObjectHandle& stream : streams) {
            if (QPDFObjectHandle(stream).isStream()) {
                m_drawers.push_back({stream, own != nullptr ? own : &surroundings, false});
            }
        }
    }

    /// Appearances of annotations that name no resources are drawn with the page's by readers.
    void addBorrowingAnnotations(const Drawer& page) {
        QPDFObjectHandle annotations = QPDFObjectHandle(page.contents).getKey("/Annots");
        if (!annotations.isArray()) {
            return;
        }
        spendOnEntries(static_cast<std::size_t>(annotations.getArrayNItems()));
        for (QPDFObjectHandle& annotation : annotations.getArrayAsVector()) {
            if (m_allowance == 0) {
                return;
            }
            for (QPDFObjectHandle& state : streamsIn(annotation.getKeyIfDict("/AP"))) {
                const std::vector<QPDFObjectHandle> streams = streamsIn(state);
                spendOnEntries(streams.size());
                for (QPDFObjectHandle stream : streams) {
                    if (stream.isStream() && !stream.getDict().hasKey("/Resources")) {
                        m_drawers.push_back({stream, page.shelf, false});
                    }
                }
            }
        }
    }

    static QPDFObjectHandle without(const Shelf& shelf) {
        QPDFObjectHandle smaller = QPDFObjectHandle(shelf.dictionary).shallowCopy();
        std::map<std::string, QPDFObjectHandle> categories;
        for (const auto& [name, resource] : shelf.wanted) {
            auto [category, isNew] = categories.try_emplace(resource.category);
            if (isNew) {
                category->second = smaller.getKey(resource.category).shallowCopy();
                smaller.replaceKey(resource.category, category->second);
            }
            category->second.removeKey(name);
        }
        return smaller;
    }

    QPDF& m_document;
    std::map<const void*, Shelf> m_shelves; ///< by their dictionaries; they keep their places
    std::vector<Drawer> m_drawers;
    std::set<const void*> m_seen; ///< holders
    std::uint64_t m_allowance;    ///< bytes that may still be read; none left: nothing is pruned
};

} // namespace

std::vector<QPDFObjectHandle> pruneResources(QPDF& document, std::uint64_t fileBytes,
                                             const std::vector<QPDFObjectHandle>& pages,
                                             const std::vector<QPDFObjectHandle>& resources) {
    Pruner pruner(document, fileBytes);
    for (std::size_t i = 0; i < pages.size(); ++i) {
        pruner.addPage(pages[i], resources[i]);
    }
    pruner.run();
    std::vector<QPDFObjectHandle> result;
    result.reserve(resources.size());
    for (const QPDFObjectHandle& dictionary : resources) {
        result.push_back(pruner.result(dictionary));
    }
    return result;
}

} // namespace quillorn
