#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/FieldTree.h"
#include "platform/pdf/LinkCarrier.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <vector>

namespace quillorn {

/// Carries form fields (ISO 32000-1, 12.7) along with the widgets on the pages that stay.
///
/// The fields of all sources share one form, in the order of the sources' first pages. A field
/// whose name is taken by an earlier document's is renamed; fonts that clash in the form's
/// default resources are renamed together with the appearance strings that use them; what a form
/// says for all its fields becomes each field's own. What a form asks of its readers for all fields
/// is done here when other documents' fields stand beside them: they are drawn. A signature cannot
/// survive in a new document: its appearance stays, its value goes. An XFA description, which lays
/// out the pages by itself, stays only with its whole document in its own order.
class FormCarrier {
public:
    /// Before the pages of a source are copied, after their links were prepared.
    void prepare(const CarryContext& context, LinkCarrier& links);
    /// After they were placed.
    void collect(const CarryContext& context);
    /// Whether the last source collected has fields in the output.
    [[nodiscard]] bool collectedFields() const { return m_collectedFields; }

    /// Field objects of the output took the places of others (a widget shown twice became a
    /// field with two widgets). By the old object.
    void replaceFields(const std::map<QPDFObjGen, QPDFObjectHandle>& replacements);

    /// The form for the catalogue, or null when no field stayed.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output, CarryNotes& notes);

private:
    /// What one source brings; all objects are the output's.
    struct SourceForm {
        std::filesystem::path file;
        std::size_t firstOutput = 0;
        std::vector<QPDFObjectHandle> fields; ///< without a parent
        std::vector<QPDFObjectHandle> calculationOrder;
    };

    void dropSignature(const CarryContext& context, QPDFObjectHandle field);
    void inheritFormDefaults(QPDFObjectHandle form);
    /// Adds a source's default resources and renames fonts in the appearance strings of `fields`.
    void mergeResources(QPDF& output, QPDFObjectHandle resources,
                        std::vector<QPDFObjectHandle> fields);
    void renameClashingFields(CarryNotes& notes);

    std::optional<FieldTree> m_tree; ///< of the source whose turn it is
    bool m_collectedFields = false;

    std::vector<SourceForm> m_sources;
    QPDFObjectHandle m_resources = QPDFObjectHandle::newNull();
    QPDFObjectHandle m_xfa = QPDFObjectHandle::newNull();
    bool m_needAppearances = false;
};

} // namespace quillorn
