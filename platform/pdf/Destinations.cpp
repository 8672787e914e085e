#include "platform/pdf/Destinations.h"

#include "platform/pdf/TreeEntries.h"

#include <algorithm>

namespace quillorn {

namespace {

constexpr std::size_t nameLimit = 2'000'000;
constexpr int longestNameChain = 8;
constexpr int mostViewParameters = 5; // "/FitR left bottom right top"

/// A scalar in place; anything else (a reference to a structure, say) means "unchanged": null.
QPDFObjectHandle scalar(QPDFObjectHandle value) {
    if (value.isName()) {
        return QPDFObjectHandle::newName(value.getName());
    }
    if (value.isInteger()) {
        return QPDFObjectHandle::newInteger(value.getIntValue());
    }
    if (value.isReal()) {
        return QPDFObjectHandle::newReal(value.getRealValue());
    }
    return QPDFObjectHandle::newNull();
}

} // namespace

std::optional<Destinations::Destination> Destinations::resolve(QPDFObjectHandle destination) {
    for (int step = 0; step < longestNameChain; ++step) {
        if (destination.isName()) {
            destination = m_source.getRoot().getKey("/Dests").getKeyIfDict(destination.getName());
        } else if (destination.isString()) {
            destination = named(destination.getStringValue());
        } else if (destination.isDictionary()) {
            destination = destination.getKey("/D");
        } else {
            break;
        }
    }
    if (!destination.isArray() || destination.getArrayNItems() < 1) {
        return std::nullopt;
    }
    // Item by item: thousands of links may share one array of thousands of items.
    QPDFObjectHandle target = destination.getArrayItem(0);
    std::optional<std::size_t> page = m_pages.indexOf(target);
    if (!page && target.isInteger() && target.getIntValue() >= 0 &&
        static_cast<std::size_t>(target.getIntValue()) < m_pages.pageCount()) {
        // Meant for other documents only, but some producers number the pages of their own.
        page = m_pages.indexOf(
            m_pages.sourceReference(static_cast<std::size_t>(target.getIntValue())));
    }
    if (!page) {
        return std::nullopt;
    }
    Destination resolved{*page, {}};
    const int end = std::min(destination.getArrayNItems(), 1 + mostViewParameters);
    for (int i = 1; i < end; ++i) {
        resolved.view.push_back(scalar(destination.getArrayItem(i)));
    }
    if (resolved.view.empty() || !resolved.view.front().isName()) {
        resolved.view = {QPDFObjectHandle::newName("/Fit")};
    }
    return resolved;
}

QPDFObjectHandle Destinations::explicitArray(const Destination& destination) const {
    std::vector<QPDFObjectHandle> items{m_pages.sourceReference(destination.page)};
    items.insert(items.end(), destination.view.begin(), destination.view.end());
    return QPDFObjectHandle::newArray(items);
}

QPDFObjectHandle Destinations::named(const std::string& name) {
    if (!m_names) {
        m_names.emplace();
        forEachTreeEntry(m_source.getRoot().getKey("/Names").getKeyIfDict("/Dests"), "/Names",
                         nameLimit, [this](QPDFObjectHandle key, QPDFObjectHandle value) {
                             if (key.isString()) {
                                 m_names->try_emplace(key.getStringValue(), value);
                             }
                             return true;
                         });
        // Documents that grew from PDF 1.1 look strings up in the old dictionary as well.
        if (QPDFObjectHandle old = m_source.getRoot().getKey("/Dests"); old.isDictionary()) {
            for (auto& [key, value] : old.getDictAsMap()) {
                m_names->try_emplace(key.substr(1), value);
            }
        }
    }
    const auto found = m_names->find(name);
    return found == m_names->end() ? QPDFObjectHandle::newNull() : found->second;
}

} // namespace quillorn
