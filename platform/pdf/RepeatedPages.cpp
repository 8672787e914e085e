#include "platform/pdf/RepeatedPages.h"

#include <array>
#include <cstddef>
#include <map>

namespace quillorn {

namespace {

/// Entries of a merged field-and-widget dictionary that belong to the field.
constexpr std::array<const char*, 15> fieldKeys{"/FT", "/T",   "/TU", "/TM", "/Ff",
                                                "/V",  "/DV",  "/DA", "/Q",  "/DS",
                                                "/RV", "/Opt", "/TI", "/I",  "/MaxLen"};

class Separation {
public:
    Separation(const CarryContext& context, const std::vector<QPDFObjectHandle>& outputPages,
               FormCarrier& forms)
        : m_context(context), m_outputPages(outputPages), m_forms(forms) {
        for (const std::size_t page : context.pages.kept()) {
            m_sourcePages.emplace(context.pages.outputPage(page).getObjGen(), page);
        }
    }

    void separate(std::size_t output, bool isFirst) {
        QPDFObjectHandle page = m_outputPages[output];
        QPDFObjectHandle annotations = page.getKey("/Annots");
        if (!annotations.isArray()) {
            return;
        }
        std::vector<QPDFObjectHandle> items = annotations.getArrayAsVector();
        if (!isFirst) {
            duplicate(items, page);
            page.replaceKey("/Annots", QPDFObjectHandle::newArray(items));
        }
        for (QPDFObjectHandle& item : items) {
            if (item.isDictionary()) {
                retarget(item, output);
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
    void duplicate(std::vector<QPDFObjectHandle>& items, QPDFObjectHandle page) {
        std::map<QPDFObjGen, QPDFObjectHandle> copies;
        for (QPDFObjectHandle& item : items) {
            if (!item.isDictionary()) {
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
        }
        for (QPDFObjectHandle& item : items) {
            if (!item.isDictionary()) {
                continue;
            }
            if (item.hasKey("/P")) {
                item.replaceKey("/P", page);
            }
            for (const char* key : {"/Popup", "/IRT", "/Parent"}) {
                const auto found = copies.find(item.getKey(key).getObjGen());
                if (item.getKey(key).isIndirect() && found != copies.end()) {
                    item.replaceKey(key, found->second);
                }
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
                field.replaceKey(key, widget.getKey(key));
                widget.removeKey(key);
            }
        }
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

    void retarget(QPDFObjectHandle annotation, std::size_t from) {
        if (QPDFObjectHandle target = nearest(annotation.getKey("/Dest"), from); !target.isNull()) {
            annotation.replaceKey("/Dest", target);
        }
        QPDFObjectHandle action = annotation.getKey("/A");
        if (action.getKeyIfDict("/S").isNameAndEquals("/GoTo")) {
            if (QPDFObjectHandle target = nearest(action.getKey("/D"), from); !target.isNull()) {
                // Copies of a page share their actions until one of them differs.
                QPDFObjectHandle own = action.shallowCopy();
                own.replaceKey("/D", target);
                annotation.replaceKey("/A", own);
            }
        }
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
    std::map<QPDFObjGen, QPDFObjectHandle> m_parents;     ///< fields over split ones
    std::map<QPDFObjGen, QPDFObjectHandle> m_splitFields; ///< by the widget they came out of
    std::map<QPDFObjGen, std::size_t> m_sourcePages;      ///< by output page object of a first copy
};

} // namespace

void separateRepeatedPages(const CarryContext& context,
                           const std::vector<QPDFObjectHandle>& outputPages, FormCarrier& forms) {
    if (!context.pages.hasRepeats()) {
        return;
    }
    Separation separation(context, outputPages, forms);
    // Copies first: they are made from annotations that still lead to the first copies.
    for (const bool first : {false, true}) {
        for (const std::size_t page : context.pages.kept()) {
            const std::vector<std::size_t>& outputs = context.pages.outputs(page);
            for (const std::size_t output : outputs) {
                if ((output == outputs.front()) == first) {
                    separation.separate(output, first);
                }
            }
        }
    }
    separation.finish();
}

} // namespace quillorn
