#include "platform/pdf/RepeatedPages.h"

#include "platform/pdf/ActionChain.h"
#include "platform/pdf/FontNames.h"

#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace quillorn {

namespace {

/// Entries of a merged field-and-widget dictionary that belong to the field.
constexpr std::array<const char*, 17> fieldKeys{"/FT", "/T",  "/TU", "/TM",     "/Ff",  "/V",
                                                "/DV", "/DA", "/Q",  "/DS",     "/RV",  "/Opt",
                                                "/TI", "/I",  "/SV", "/MaxLen", "/Lock"};

/// Triggers that belong to the field: a key was pressed, format, check, calculate.
constexpr std::array<const char*, 4> fieldTriggers{"/K", "/F", "/V", "/C"};

/// Copies of annotations (and of actions) in one output; pages beyond it share theirs. It takes
/// thousands of links on thousands of repeated pages to get there.
constexpr std::size_t mostCopies = 200'000;

class Separation {
public:
    Separation(const CarryContext& context, const std::vector<QPDFObjectHandle>& outputPages,
               FormCarrier& forms)
        : m_context(context), m_outputPages(outputPages), m_forms(forms) {
        for (const std::size_t page : context.pages.kept()) {
            m_sourcePages.emplace(context.pages.outputPage(page).getObjGen(), page);
        }
    }

    /// Gives the page at `output` annotations that no page before it has.
    void separate(std::size_t output) {
        QPDFObjectHandle page = m_outputPages[output];
        QPDFObjectHandle annotations = page.getKey("/Annots");
        if (!annotations.isArray()) {
            return;
        }
        if (m_copies + static_cast<std::size_t>(annotations.getArrayNItems()) > mostCopies) {
            m_context.notes.add(PDFCarryNote::Kind::structureLimited, m_context.file,
                                "annotations");
            return;
        }
        std::vector<QPDFObjectHandle> items = annotations.getArrayAsVector();
        const std::size_t copied = duplicate(items, page);
        if (copied > 0) {
            page.replaceKey("/Annots", QPDFObjectHandle::newArray(items));
        }
    }

    /// Turns the links of the page at `output` to the copies nearest to it.
    void retarget(std::size_t output) {
        QPDFObjectHandle page = m_outputPages[output];
        retargetAdditionalActions(page, output);
        QPDFObjectHandle annotations = page.getKey("/Annots");
        // A list that pages share has its links turned from the first of them.
        if (annotations.isArray() && m_turned.insert(annotations.getObjectPtr()).second) {
            for (QPDFObjectHandle& item : annotations.getArrayAsVector()) {
                if (item.isDictionary()) {
                    retargetAnnotation(item, output);
                }
            }
        }
    }

    /// Puts the fields that were split from their widgets in the widgets' places.
    void finish() {
        for (auto& [id, parent] : m_parents) {
            if (QPDFObjectHandle kids = parent.getKey("/Kids"); kids.isArray()) {
                std::vector<QPDFObjectHandle> items = kids.getArrayAsVector();
                for (QPDFObjectHandle& item : items) {
                    const auto split = m_splitFields.find(item.getObjGen());
                    item = split == m_splitFields.end() ? item : split->second;
                }
                parent.replaceKey("/Kids", QPDFObjectHandle::newArray(items));
            }
        }
        m_forms.replaceFields(m_splitFields);
    }

private:
    /// Replaces the annotations that another page has by copies; returns how many.
    std::size_t duplicate(std::vector<QPDFObjectHandle>& items, QPDFObjectHandle page) {
        std::map<QPDFObjGen, QPDFObjectHandle> copies;
        std::size_t count = 0;
        for (QPDFObjectHandle& item : items) {
            if (!item.isDictionary() || m_owned.insert(item.getObjectPtr()).second) {
                continue;
            }
            QPDFObjectHandle copied = m_context.output.makeIndirectObject(item.shallowCopy());
            if (item.getKey("/Subtype").isNameAndEquals("/Widget")) {
                shareField(item, copied);
            }
            if (item.isIndirect()) {
                copies.emplace(item.getObjGen(), copied);
            }
            item = copied;
            m_owned.insert(item.getObjectPtr());
            ++count;
        }
        m_copies += count;
        for (QPDFObjectHandle& item : items) {
            connect(item, page, copies);
        }
        return count;
    }

    /// Lets a copy name its own page and its own page's copies of what it belongs to.
    static void connect(QPDFObjectHandle item, QPDFObjectHandle page,
                        const std::map<QPDFObjGen, QPDFObjectHandle>& copies) {
        if (!item.isDictionary()) {
            return;
        }
        if (item.hasKey("/P")) {
            item.replaceKey("/P", page);
        }
        for (const char* key : {"/Popup", "/IRT", "/Parent"}) {
            QPDFObjectHandle other = item.getKey(key);
            const auto found = copies.find(other.getObjGen());
            if (other.isIndirect() && found != copies.end()) {
                item.replaceKey(key, found->second);
            }
        }
    }

    /// Both widgets become children of one field.
    void shareField(QPDFObjectHandle widget, QPDFObjectHandle copied) {
        QPDFObjectHandle field = widget.getKey("/Parent");
        if (widget.hasKey("/T") || !field.isDictionary()) {
            if (!widget.hasKey("/FT") && !widget.hasKey("/T")) {
                return; // a widget of no form
            }
            field = splitField(widget);
            for (const char* key : fieldKeys) {
                copied.removeKey(key);
            }
            if (QPDFObjectHandle actions = widget.getKey("/AA"); actions.isDictionary()) {
                copied.replaceKey("/AA", actions.shallowCopy());
            } else {
                copied.removeKey("/AA");
            }
        }
        copied.replaceKey("/Parent", field);
        QPDFObjectHandle kids = field.getKey("/Kids");
        if (kids.isArray()) {
            kids.appendItem(copied);
        }
    }

    /// Takes the field out of a dictionary that was field and widget in one.
    QPDFObjectHandle splitField(QPDFObjectHandle widget) {
        QPDFObjectHandle field =
            m_context.output.makeIndirectObject(QPDFObjectHandle::newDictionary());
        for (const char* key : fieldKeys) {
            if (widget.hasKey(key)) {
                // What was copied from a source counts as that source's until it is copied again.
                field.replaceKey(key, detached(widget.getKey(key)));
                widget.removeKey(key);
            }
        }
        splitActions(widget, field);
        QPDFObjectHandle parent = widget.getKey("/Parent");
        if (parent.isDictionary()) {
            field.replaceKey("/Parent", parent);
            m_parents.emplace(parent.getObjGen(), parent);
        }
        widget.replaceKey("/Parent", field);
        field.replaceKey("/Kids", QPDFObjectHandle::newArray({widget}));
        m_splitFields.emplace(widget.getObjGen(), field);
        return field;
    }

    static void splitActions(QPDFObjectHandle widget, QPDFObjectHandle field) {
        QPDFObjectHandle actions = widget.getKey("/AA");
        if (!actions.isDictionary()) {
            return;
        }
        QPDFObjectHandle ofWidget = actions.shallowCopy();
        QPDFObjectHandle ofField = QPDFObjectHandle::newDictionary();
        for (const char* trigger : fieldTriggers) {
            if (actions.hasKey(trigger)) {
                ofField.replaceKey(trigger, actions.getKey(trigger));
                ofWidget.removeKey(trigger);
            }
        }
        widget.removeKey("/AA");
        if (!ofWidget.getKeys().empty()) {
            widget.replaceKey("/AA", ofWidget);
        }
        if (!ofField.getKeys().empty()) {
            field.replaceKey("/AA", ofField);
        }
    }

    void retargetAnnotation(QPDFObjectHandle annotation, std::size_t from) {
        if (QPDFObjectHandle target = nearest(annotation.getKey("/Dest"), from); !target.isNull()) {
            annotation.replaceKey("/Dest", target);
        }
        retargetAction(annotation, "/A", from);
        retargetAdditionalActions(annotation, from);
    }

    void retargetAdditionalActions(QPDFObjectHandle holder, std::size_t from) {
        QPDFObjectHandle actions = holder.getKey("/AA");
        if (!actions.isDictionary()) {
            return;
        }
        // Copies share their actions until one of them differs.
        QPDFObjectHandle own = actions.shallowCopy();
        bool changed = false;
        for (const std::string& trigger : actions.getKeys()) {
            changed = retargetAction(own, trigger.c_str(), from) || changed;
        }
        if (changed) {
            holder.replaceKey("/AA", own);
        }
    }

    bool retargetAction(QPDFObjectHandle holder, const char* key, std::size_t from) {
        std::vector<QPDFObjectHandle> actions = actionChain(holder.getKey(key)).actions;
        bool changed = false;
        for (QPDFObjectHandle& action : actions) {
            if (!isGoTo(action)) {
                continue;
            }
            if (QPDFObjectHandle target = nearest(action.getKey("/D"), from); !target.isNull()) {
                action = action.shallowCopy();
                action.replaceKey("/D", target);
                changed = true;
            }
        }
        if (!changed || m_copiedActions + actions.size() > mostCopies) {
            return false;
        }
        m_copiedActions += actions.size();
        holder.replaceKey(key, chained(m_context.output, actions));
        return true;
    }

    /// The destination at the copy nearest to `from`; null when it is right as it stands.
    QPDFObjectHandle nearest(QPDFObjectHandle destination, std::size_t from) {
        if (!destination.isArray() || destination.getArrayNItems() < 1) {
            return QPDFObjectHandle::newNull();
        }
        const auto target = m_sourcePages.find(destination.getArrayItem(0).getObjGen());
        if (target == m_sourcePages.end()) {
            return QPDFObjectHandle::newNull();
        }
        const std::size_t output = m_context.pages.nearestOutput(target->second, from);
        if (output == m_context.pages.firstOutput(target->second)) {
            return QPDFObjectHandle::newNull();
        }
        QPDFObjectHandle moved = destination.shallowCopy();
        moved.setArrayItem(0, m_outputPages[output]);
        return moved;
    }

    const CarryContext& m_context;
    const std::vector<QPDFObjectHandle>& m_outputPages;
    FormCarrier& m_forms;
    std::set<const void*> m_owned;  ///< annotations that a page has for itself
    std::set<const void*> m_turned; ///< lists of annotations, which pages hold from now on
    std::size_t m_copies = 0;
    std::size_t m_copiedActions = 0;
    std::map<QPDFObjGen, QPDFObjectHandle> m_parents;     ///< fields over split ones
    std::map<QPDFObjGen, QPDFObjectHandle> m_splitFields; ///< by the widget they came out of
    std::map<QPDFObjGen, std::size_t> m_sourcePages;      ///< by output page object of a first copy
};

bool isFirstCopy(const CarryContext& context, const PageUse& use) {
    const auto page = context.pages.indexOf(context.pages.sourceReference(use.page));
    return page && context.pages.firstOutput(*page) == use.output;
}

} // namespace

void separateRepeatedPages(const CarryContext& context,
                           const std::vector<QPDFObjectHandle>& outputPages, FormCarrier& forms) {
    if (!context.pages.hasRepeats()) {
        return;
    }
    Separation separation(context, outputPages, forms);
    // First copies keep the annotations as they are, so they come first; and all copies are made
    // before the first link is turned.
    for (const bool first : {true, false}) {
        for (const PageUse& use : context.pages.uses()) {
            if (isFirstCopy(context, use) == first) {
                separation.separate(use.output);
            }
        }
    }
    for (const PageUse& use : context.pages.uses()) {
        separation.retarget(use.output);
    }
    separation.finish();
}

} // namespace quillorn
