#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/Destinations.h"

#include <qpdf/QPDFObjectHandle.hh>
#include <set>

namespace quillorn {

/// Makes the links of one source ready to leave their document, before its pages are copied.
///
/// Every link and action that goes to a page gets an explicit destination, so that names of
/// different documents cannot be mistaken for each other; the copier then turns the page in it
/// into the page of the output. A link whose page stays behind is removed; an action of a button
/// or a page is taken off it. Links to the web and to other files stay as they are.
class LinkCarrier {
public:
    LinkCarrier(CarryContext& context, Destinations& destinations)
        : m_context(context), m_destinations(destinations) {}

    /// For each page that comes along.
    void prepare(QPDFObjectHandle page);

private:
    [[nodiscard]] bool prepareAnnotation(QPDFObjectHandle annotation);
    /// Whether the action, with the ones that follow it, may stay.
    [[nodiscard]] bool prepareAction(QPDFObjectHandle action);
    void prepareAdditionalActions(QPDFObjectHandle holder);
    [[nodiscard]] bool makeExplicit(QPDFObjectHandle holder, const char* key);

    CarryContext& m_context;
    Destinations& m_destinations;
};

} // namespace quillorn
