#pragma once

#include "platform/office/ConversionProtocol.h"

#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/lang/XComponent.hpp>
#include <com/sun/star/uno/Reference.hxx>
#include <com/sun/star/uno/Sequence.hxx>
#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::office {

/// The engine's filter for a format.
[[nodiscard]] const char* filterFor(conversion::DocumentFormat format);

/// How a document is opened: not to be changed, without macros and updates.
[[nodiscard]] com::sun::star::uno::Sequence<com::sun::star::beans::PropertyValue>
loadProperties(const std::filesystem::path& file, const char* filter);

/// A text document that is open in the office engine. UNO's exceptions come through; those of a
/// connection that broke are DisposedException. The destructor closes the document.
class WriterDocument {
public:
    /// Opens a file, of which the name says nothing, with this filter of the engine's only.
    /// Throws when it is none.
    WriterDocument(const com::sun::star::uno::Reference<com::sun::star::frame::XDesktop2>& desktop,
                   const std::filesystem::path& file, const char* filter);
    WriterDocument(const WriterDocument&) = delete;
    WriterDocument& operator=(const WriterDocument&) = delete;
    ~WriterDocument();

    /// Whether the engine took it for a text document.
    [[nodiscard]] bool isText() const { return m_isText; }

    /// Gives every page the paper and the margins of the job, upright, and no header and footer,
    /// and makes the content fit. False when there is too much of it to make it fit.
    [[nodiscard]] bool setPages(const conversion::JobHeader& job);

    /// Lays the document out.
    [[nodiscard]] sal_Int32 pageCount() const;

    /// The fonts that its text asks for and that are not installed, sorted.
    [[nodiscard]] std::vector<std::string> missingFonts() const;

    void exportPDF(const std::filesystem::path& file) const;

private:
    com::sun::star::uno::Reference<com::sun::star::lang::XComponent> m_document;
    bool m_isText = false;
};

} // namespace quillorn::office
