#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/Destinations.h"

#include <cstddef>
#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <vector>

namespace quillorn {

/// Makes the links of one source ready to leave their document, before its pages are copied.
///
/// Every link and action that goes to a page gets an explicit destination, so that names of
/// different documents cannot be mistaken for each other; the copier then turns the page in it
/// into the page of the output. A link whose page stays behind is removed; an action of a button
/// or a page is taken off it, and out of a chain of actions only that one is. Links to the web
/// and to other files stay as they are.
///
/// Pages may share annotations, lists of them and actions; each is dealt with (and counted)
/// once, so a list of thousands that stands on thousands of pages costs no more than one.
class LinkCarrier {
public:
    LinkCarrier(CarryContext& context, Destinations& destinations)
        : m_context(context), m_destinations(destinations) {}

    /// For each page that comes along.
    void preparePage(QPDFObjectHandle page);

    /// What stays of an action that stands elsewhere: itself, what is left of it, or null.
    [[nodiscard]] QPDFObjectHandle preparedAction(const QPDFObjectHandle& action);

    /// What an annotation or a form field does by itself.
    void prepareActions(QPDFObjectHandle holder);

    /// The actions prepared so far that name form fields.
    [[nodiscard]] const std::vector<QPDFObjectHandle>& formActions() const { return m_formActions; }
    /// The widgets on the pages prepared so far, each once; indirect objects.
    [[nodiscard]] const std::vector<QPDFObjectHandle>& widgets() const { return m_widgets; }

private:
    [[nodiscard]] bool staysOnPage(const QPDFObjectHandle& annotation);
    [[nodiscard]] bool prepareAnnotation(QPDFObjectHandle annotation);
    [[nodiscard]] bool prepareLink(QPDFObjectHandle link);
    /// Prepares the action under `key`; whether anything is left of it (or none was there).
    bool prepareActionOf(QPDFObjectHandle holder, const char* key);
    void prepareAdditionalActions(QPDFObjectHandle holder);
    [[nodiscard]] QPDFObjectHandle preparedChain(const QPDFObjectHandle& action);
    [[nodiscard]] bool makeExplicit(QPDFObjectHandle holder, const char* key);

    CarryContext& m_context;
    Destinations& m_destinations;
    // Only indirect objects can be shared.
    std::set<QPDFObjGen> m_lists;                     ///< of annotations, that were gone through
    std::map<QPDFObjGen, bool> m_annotations;         ///< whether an annotation stays
    std::map<QPDFObjGen, QPDFObjectHandle> m_actions; ///< what became of actions
    std::set<QPDFObjGen> m_additionalActions;
    std::vector<QPDFObjectHandle> m_formActions;
    std::set<QPDFObjGen> m_formActionIds; ///< actions looked at for fields
    std::size_t m_copiedActions = 0;
    std::vector<QPDFObjectHandle> m_widgets;
};

} // namespace quillorn
