#include "platform/office/engine/Comments.h"

#include "platform/office/engine/Strings.h"
#include "platform/office/engine/WriterDocument.h"

#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/frame/XLoadable.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/lang/XComponent.hpp>
#include <com/sun/star/lang/XMultiComponentFactory.hpp>
#include <com/sun/star/lang/XServiceInfo.hpp>
#include <com/sun/star/text/XTextFieldsSupplier.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <vector>

namespace quillorn::office {

namespace css = com::sun::star;
using conversion::DocumentFormat;
using css::uno::Reference;
using css::uno::UNO_QUERY_THROW;

bool mayHaveComments(std::string_view document, DocumentFormat format) {
    switch (format) {
    case DocumentFormat::wordXML:
        return document.find("comments") != std::string_view::npos; // names are not packed
    case DocumentFormat::richText:
        return document.find("\\annotation") != std::string_view::npos;
    case DocumentFormat::word:
        // Their authors stand in a table whose place is not worth finding.
        return true;
    case DocumentFormat::word95:
    case DocumentFormat::word2:
    case DocumentFormat::plainText:
        break;
    }
    return false;
}

void copyWithoutComments(const Reference<css::uno::XComponentContext>& context,
                         const std::filesystem::path& file, DocumentFormat format,
                         const std::filesystem::path& copy) {
    const Reference<css::frame::XLoadable> document(
        context->getServiceManager()->createInstanceWithContext("com.sun.star.text.TextDocument",
                                                                context),
        UNO_QUERY_THROW);
    document->load(loadProperties(file, filterFor(format)));
    const Reference<css::text::XTextFieldsSupplier> supplier(document, UNO_QUERY_THROW);
    const auto fields = supplier->getTextFields()->createEnumeration();
    std::vector<Reference<css::lang::XComponent>> comments;
    while (fields->hasMoreElements()) {
        const Reference<css::lang::XServiceInfo> field(fields->nextElement(), UNO_QUERY_THROW);
        if (field->supportsService("com.sun.star.text.TextField.Annotation")) {
            comments.emplace_back(field, UNO_QUERY_THROW);
        }
    }
    for (const auto& comment : comments) {
        comment->dispose();
    }
    css::beans::PropertyValue filter;
    filter.Name = "FilterName";
    filter.Value <<= rtl::OUString("writer8");
    const Reference<css::frame::XStorable> storable(document, UNO_QUERY_THROW);
    storable->storeToURL(fileURL(copy.string()), {&filter, 1});
    const Reference<css::util::XCloseable> closeable(document, UNO_QUERY_THROW);
    closeable->close(true);
}

} // namespace quillorn::office
