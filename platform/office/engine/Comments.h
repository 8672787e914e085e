#pragma once

#include "platform/office/ConversionProtocol.h"

#include <com/sun/star/uno/Reference.hxx>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <filesystem>
#include <string_view>

namespace quillorn::office {

/// Whether a document may hold comments, as far as its bytes tell.
[[nodiscard]] bool mayHaveComments(std::string_view document, conversion::DocumentFormat format);

/// Copies a document without its comments, as an OpenDocument text. They are never printed, but
/// an engine that was installed without its windows crashes over showing them. Throws what UNO
/// throws.
void copyWithoutComments(
    const com::sun::star::uno::Reference<com::sun::star::uno::XComponentContext>& context,
    const std::filesystem::path& file, conversion::DocumentFormat format,
    const std::filesystem::path& copy);

} // namespace quillorn::office
