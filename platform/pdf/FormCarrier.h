#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <string>
#include <vector>

namespace quillorn {

/// Carries form fields (ISO 32000-1, 12.7) along with the widgets on the pages that stay.
///
/// Before the pages of a source are copied, the field tree is cut back to the widgets of those
/// pages, so a field drags nothing of other pages along and one field stays one field on however
/// many kept pages it shows. The fields of all sources then share one form. A field whose name
/// is taken by another document's is renamed; fonts that clash in the form's default resources
/// are renamed together with the appearance strings that use them. A signature cannot survive
/// in a new document: its appearance stays, its value goes. An XFA description stays only with
/// its whole document.
class FormCarrier {
public:
    /// Before the pages of a source are copied.
    void prepare(const CarryContext& context);
    /// After they were placed.
    void collect(const CarryContext& context);

    /// Field objects of the output took the places of others (a widget shown twice became a
    /// field with two widgets). By the old object.
    void replaceFields(const std::map<QPDFObjGen, QPDFObjectHandle>& replacements);

    /// The form for the catalogue, or null when no field stayed.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output, CarryNotes& notes);

private:
    struct Field {
        QPDFObjectHandle object; ///< in the output
        std::size_t source;      ///< position in m_sources
    };
    struct SourceForm {
        std::filesystem::path file;
        QPDFObjectHandle resources; ///< in the output; null where the form states none
        std::vector<QPDFObjectHandle> appearanceHolders; ///< output objects that may state /DA
    };

    void keepAncestors(const CarryContext& context, QPDFObjectHandle widget);
    void cutBack(QPDFObjectHandle field);
    void dropSignature(const CarryContext& context, QPDFObjectHandle field);
    void inheritFormDefaults(QPDFObjectHandle form);
    void mergeResources(QPDF& output, SourceForm& source);
    void renameClashingFields(CarryNotes& notes);

    // The source whose turn it is.
    std::vector<QPDFObjectHandle> m_kept; ///< widgets and fields that stay, each once
    std::set<QPDFObjGen> m_keptIds;
    std::vector<QPDFObjectHandle> m_top;

    // The output.
    std::vector<SourceForm> m_sources;
    std::vector<Field> m_fields;
    std::vector<QPDFObjectHandle> m_calculationOrder;
    QPDFObjectHandle m_resources = QPDFObjectHandle::newNull();
    QPDFObjectHandle m_xfa = QPDFObjectHandle::newNull();
    bool m_needAppearances = false;
};

} // namespace quillorn
