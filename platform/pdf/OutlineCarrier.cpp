#include "platform/pdf/OutlineCarrier.h"

#include "platform/pdf/ActionChain.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace quillorn {

namespace {

/// Far beyond any book's; what is left of a larger (or looping) outline is cut off.
constexpr std::size_t entryLimit = 500'000;
constexpr std::size_t deepestEntry = 200;

/// What an entry keeps as it is: its title, colour and style.
constexpr std::array<const char*, 3> keptKeys{"/Title", "/C", "/F"};

/// Empty where something else than a text stands in its place: libqpdf would take that for a reason
/// to give up.
std::string titleOf(QPDFObjectHandle entry) {
    QPDFObjectHandle title = entry.getKey("/Title");
    return title.isString() ? title.getUTF8Value() : std::string();
}

} // namespace

/// An item being read: its entry in the making, and the sibling that comes next.
struct OutlineCarrier::Frame {
    QPDFObjectHandle next;
    std::size_t entry = 0; ///< the entry whose children these are; unused at the top
    Target target = Target::none;
    bool isHeading = false; ///< has neither a target nor anything below it in its own document
    std::vector<std::size_t> children;
};

void OutlineCarrier::collect(const CarryContext& context, Destinations& destinations,
                             LinkCarrier& links) {
    SourceOutline outline;
    outline.name = context.file.filename().string();
    outline.firstPage = context.pages.outputPage(context.pages.kept().front());
    outline.firstOutput = context.pages.firstOutput(context.pages.kept().front());

    std::set<QPDFObjGen> seen;
    std::vector<Frame> open(1);
    open.front().next = context.source.getRoot().getKey("/Outlines").getKeyIfDict("/First");
    while (!open.empty()) {
        QPDFObjectHandle item = open.back().next;
        if (!item.isDictionary() || !item.isIndirect()) {
            close(context, open, outline);
            continue;
        }
        if (open.size() > deepestEntry || seen.size() >= entryLimit ||
            !seen.insert(item.getObjGen()).second) {
            context.notes.add(PDFCarryNote::Kind::structureLimited, context.file, "outline");
            close(context, open, outline);
            continue;
        }
        open.back().next = item.getKey("/Next");
        open.push_back(enter(context, destinations, links, item));
    }
    m_outlines.push_back(std::move(outline));
}

OutlineCarrier::Frame OutlineCarrier::enter(const CarryContext& context, Destinations& destinations,
                                            LinkCarrier& links, QPDFObjectHandle item) {
    Frame frame;
    QPDFObjectHandle object = QPDFObjectHandle::newDictionary();
    for (const char* key : keptKeys) {
        if (QPDFObjectHandle value = item.getKey(key); !value.isNull()) {
            object.replaceKey(key, context.carried(value));
        }
    }
    if (!object.getKey("/Title").isString()) {
        object.replaceKey("/Title", QPDFObjectHandle::newString(""));
    }
    QPDFObjectHandle action = item.getKey("/A");
    if (item.hasKey("/Dest") || isGoTo(action)) {
        const auto destination =
            destinations.resolve(item.hasKey("/Dest") ? item.getKey("/Dest") : action.getKey("/D"));
        frame.target = Target::lost;
        if (destination && context.pages.isKept(destination->page)) {
            std::vector<QPDFObjectHandle> target{context.pages.outputPage(destination->page)};
            target.insert(target.end(), destination->view.begin(), destination->view.end());
            object.replaceKey("/Dest", QPDFObjectHandle::newArray(target));
            frame.target = Target::kept;
        }
    } else if (action.isDictionary()) {
        QPDFObjectHandle prepared = links.preparedAction(action);
        object.replaceKey("/A", context.carried(prepared));
        frame.target = Target::kept;
    }
    frame.next = item.getKey("/First");
    frame.isHeading = frame.target == Target::none && !frame.next.isDictionary();
    QPDFObjectHandle count = item.getKey("/Count");
    m_entries.push_back(Entry{object, {}, count.isInteger() && count.getIntValue() > 0});
    frame.entry = m_entries.size() - 1;
    return frame;
}

void OutlineCarrier::close(const CarryContext& context, std::vector<Frame>& open,
                           SourceOutline& outline) {
    Frame done = std::move(open.back());
    open.pop_back();
    if (open.empty()) {
        outline.top = std::move(done.children);
        return;
    }
    Entry& entry = m_entries[done.entry];
    entry.children = std::move(done.children);
    const bool stays = done.target == Target::kept || !entry.children.empty() ||
                       (done.isHeading && context.pages.allKept());
    if (stays) {
        open.back().children.push_back(done.entry);
    }
    if (done.target == Target::lost) {
        context.notes.add(stays ? PDFCarryNote::Kind::outlineTargetLost
                                : PDFCarryNote::Kind::outlineEntryDropped,
                          context.file, titleOf(entry.object));
    }
}

QPDFObjectHandle OutlineCarrier::finish(QPDF& output, bool flat) {
    const bool any = std::any_of(m_outlines.begin(), m_outlines.end(),
                                 [](const SourceOutline& outline) { return !outline.top.empty(); });
    if (!any) {
        return QPDFObjectHandle::newNull();
    }
    std::sort(m_outlines.begin(), m_outlines.end(),
              [](const auto& a, const auto& b) { return a.firstOutput < b.firstOutput; });
    std::vector<std::size_t> top;
    for (SourceOutline& outline : m_outlines) {
        if (flat || m_outlines.size() == 1) {
            top.insert(top.end(), outline.top.begin(), outline.top.end());
            continue;
        }
        QPDFObjectHandle object = QPDFObjectHandle::newDictionary();
        object.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(outline.name));
        object.replaceKey("/Dest", QPDFObjectHandle::newArray(
                                       {outline.firstPage, QPDFObjectHandle::newName("/Fit")}));
        m_entries.push_back(Entry{object, std::move(outline.top), true});
        top.push_back(m_entries.size() - 1);
    }
    QPDFObjectHandle root = output.makeIndirectObject(QPDFObjectHandle::newDictionary());
    root.replaceKey("/Type", QPDFObjectHandle::newName("/Outlines"));
    const long long visible = linkChildren(output, root, top);
    root.replaceKey("/Count", QPDFObjectHandle::newInteger(visible));
    return root;
}

long long OutlineCarrier::linkChildren(QPDF& output, QPDFObjectHandle root,
                                       const std::vector<std::size_t>& top) {
    // Depth is bounded by deepestEntry (and the sources' own entries above it).
    long long visible = 0;
    std::vector<QPDFObjectHandle> objects;
    objects.reserve(top.size());
    for (const std::size_t index : top) {
        objects.push_back(output.makeIndirectObject(m_entries[index].object));
    }
    for (std::size_t i = 0; i < top.size(); ++i) {
        const Entry& entry = m_entries[top[i]];
        QPDFObjectHandle object = objects[i];
        object.replaceKey("/Parent", root);
        if (i > 0) {
            object.replaceKey("/Prev", objects[i - 1]);
        }
        if (i + 1 < objects.size()) {
            object.replaceKey("/Next", objects[i + 1]);
        }
        ++visible;
        if (!entry.children.empty()) {
            const long long below = linkChildren(output, object, entry.children);
            object.replaceKey("/Count", QPDFObjectHandle::newInteger(entry.open ? below : -below));
            visible += entry.open ? below : 0;
        }
    }
    root.replaceKey("/First", objects.front());
    root.replaceKey("/Last", objects.back());
    return visible;
}

} // namespace quillorn
