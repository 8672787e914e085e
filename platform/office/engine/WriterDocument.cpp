#include "platform/office/engine/WriterDocument.h"

#include "platform/office/engine/ContentFitter.h"
#include "platform/office/engine/InstalledFonts.h"
#include "platform/office/engine/Strings.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/beans/XMultiPropertySet.hpp>
#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/container/XNameAccess.hpp>
#include <com/sun/star/document/MacroExecMode.hpp>
#include <com/sun/star/document/UpdateDocMode.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/lang/XServiceInfo.hpp>
#include <com/sun/star/style/PageStyleLayout.hpp>
#include <com/sun/star/style/XAutoStyle.hpp>
#include <com/sun/star/style/XAutoStyleFamily.hpp>
#include <com/sun/star/style/XAutoStylesSupplier.hpp>
#include <com/sun/star/style/XStyle.hpp>
#include <com/sun/star/style/XStyleFamiliesSupplier.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <map>
#include <set>

namespace quillorn::office {

namespace css = com::sun::star;
using conversion::DocumentFormat;
using css::beans::PropertyValue;
using css::uno::Any;
using css::uno::Reference;
using css::uno::Sequence;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;

namespace {

constexpr double hundredthsOfMillimetrePerPoint = 2540.0 / 72.0;

/// Tables of tens of thousands of rows are through by then.
constexpr std::chrono::seconds fittingPatience{20};

/// Documents with more than so many ways of formatting are not asked for all of their fonts.
constexpr int mostFormats = 200;

template <class Value>
PropertyValue property(const char* name, const Value& value) {
    PropertyValue result;
    result.Name = rtl::OUString::createFromAscii(name);
    result.Value <<= value;
    return result;
}

Sequence<PropertyValue> sequence(const std::vector<PropertyValue>& values) {
    return {values.data(), static_cast<sal_Int32>(values.size())};
}

Reference<css::container::XNameAccess> stylesOf(const Reference<css::lang::XComponent>& document,
                                                const char* family) {
    const Reference<css::style::XStyleFamiliesSupplier> supplier(document, UNO_QUERY_THROW);
    return {supplier->getStyleFamilies()->getByName(rtl::OUString::createFromAscii(family)),
            UNO_QUERY_THROW};
}

/// The page styles that are in use, and those that pages get behind theirs.
std::map<rtl::OUString, Reference<css::style::XStyle>>
usedPageStyles(const Reference<css::container::XNameAccess>& styles) {
    std::map<rtl::OUString, Reference<css::style::XStyle>> used;
    for (const rtl::OUString& name : styles->getElementNames()) {
        const Reference<css::style::XStyle> style(styles->getByName(name), UNO_QUERY_THROW);
        if (!style->isInUse()) {
            continue;
        }
        used.emplace(name, style);
        rtl::OUString following;
        const Reference<css::beans::XPropertySet> properties(style, UNO_QUERY_THROW);
        if ((properties->getPropertyValue("FollowStyle") >>= following) &&
            styles->hasByName(following)) {
            used.emplace(following, Reference<css::style::XStyle>(styles->getByName(following),
                                                                  UNO_QUERY_THROW));
        }
    }
    return used;
}

/// Between the margins of a page style.
sal_Int32 textWidth(const Reference<css::style::XStyle>& style) {
    const Reference<css::beans::XPropertySet> properties(style, UNO_QUERY_THROW);
    sal_Int32 width = 0;
    sal_Int32 left = 0;
    sal_Int32 right = 0;
    properties->getPropertyValue("Width") >>= width;
    properties->getPropertyValue("LeftMargin") >>= left;
    properties->getPropertyValue("RightMargin") >>= right;
    return width - left - right;
}

/// Collects the names of fonts until there are too many formats.
class FontNames {
public:
    void addAutomatic(const Reference<css::style::XAutoStyles>& styles, const char* family) {
        const Reference<css::style::XAutoStyleFamily> members(
            styles->getByName(rtl::OUString::createFromAscii(family)), UNO_QUERY_THROW);
        const auto all = members->createEnumeration();
        while (all->hasMoreElements() && m_formats < mostFormats) {
            const Reference<css::style::XAutoStyle> style(all->nextElement(), UNO_QUERY_THROW);
            for (const PropertyValue& value : style->getProperties()) {
                if (value.Name == "CharFontName") {
                    add(value.Value);
                }
            }
            ++m_formats;
        }
    }

    void addStyles(const Reference<css::container::XNameAccess>& styles) {
        for (const rtl::OUString& name : styles->getElementNames()) {
            const Reference<css::style::XStyle> style(styles->getByName(name), UNO_QUERY_THROW);
            if (m_formats < mostFormats && style->isInUse()) {
                ++m_formats;
                const Reference<css::beans::XPropertySet> properties(style, UNO_QUERY_THROW);
                add(properties->getPropertyValue("CharFontName"));
            }
        }
    }

    [[nodiscard]] const std::set<std::string>& get() const { return m_names; }

private:
    void add(const Any& value) {
        rtl::OUString name;
        if ((value >>= name) && !name.isEmpty()) {
            m_names.insert(plainText(name));
        }
    }

    std::set<std::string> m_names;
    int m_formats = 0;
};

} // namespace

const char* filterFor(DocumentFormat format) {
    switch (format) {
    case DocumentFormat::wordXML:
        return "MS Word 2007 XML";
    case DocumentFormat::word:
        return "MS Word 97";
    case DocumentFormat::word95:
        return "MS WinWord 6.0"; // takes both
    case DocumentFormat::word2:
        return "MS WinWord 5";
    case DocumentFormat::richText:
    case DocumentFormat::plainText:
        break;
    }
    return "Rich Text Format";
}

Sequence<PropertyValue> loadProperties(const std::filesystem::path& file, const char* filter) {
    return sequence(
        {property("URL", fileURL(file.string())), property("Hidden", true),
         property("ReadOnly", true),
         property("MacroExecutionMode", sal_Int16(css::document::MacroExecMode::NEVER_EXECUTE)),
         property("UpdateDocMode", sal_Int16(css::document::UpdateDocMode::NO_UPDATE)),
         property("FilterName", rtl::OUString::createFromAscii(filter))});
}

WriterDocument::WriterDocument(const Reference<css::frame::XDesktop2>& desktop,
                               const std::filesystem::path& file, const char* filter) {
    m_document = desktop->loadComponentFromURL(fileURL(file.string()), "_blank", 0,
                                               loadProperties(file, filter));
    const Reference<css::lang::XServiceInfo> info(m_document, UNO_QUERY);
    m_isText = info.is() && info->supportsService("com.sun.star.text.TextDocument");
}

WriterDocument::~WriterDocument() {
    try {
        const Reference<css::util::XCloseable> closeable(m_document, UNO_QUERY);
        if (closeable.is()) {
            closeable->close(true);
        }
    } catch (const css::uno::Exception&) {
        // The connection broke, which the next call to the engine notices.
        m_document.clear();
    }
}

bool WriterDocument::setPages(const conversion::JobHeader& job) {
    const auto length = [](double points) {
        return static_cast<sal_Int32>(std::lround(points * hundredthsOfMillimetrePerPoint));
    };
    // The call below wants the names sorted.
    std::map<rtl::OUString, Any> values;
    values["Width"] <<= length(job.paperWidth);
    values["Height"] <<= length(job.paperHeight);
    for (const char* const margin : {"LeftMargin", "RightMargin", "TopMargin", "BottomMargin"}) {
        values[rtl::OUString::createFromAscii(margin)] <<= length(job.margin);
    }
    for (const char* const distance :
         {"LeftBorderDistance", "RightBorderDistance", "TopBorderDistance", "BottomBorderDistance",
          "GutterMargin"}) {
        values[rtl::OUString::createFromAscii(distance)] <<= sal_Int32(0);
    }
    for (const char* const part : {"HeaderIsOn", "FooterIsOn", "IsLandscape"}) {
        values[rtl::OUString::createFromAscii(part)] <<= false;
    }
    values["PageStyleLayout"] <<= css::style::PageStyleLayout_ALL;
    std::vector<rtl::OUString> names;
    std::vector<Any> settings;
    for (const auto& [name, value] : values) {
        names.push_back(name);
        settings.push_back(value);
    }
    ContentFitter::Pages pages;
    pages.paper = {length(job.paperWidth), length(job.paperHeight)};
    pages.text = {length(job.paperWidth - 2 * job.margin),
                  length(job.paperHeight - 2 * job.margin)};
    // Unlocked, each change would lay the document out anew.
    const Reference<css::frame::XModel> model(m_document, UNO_QUERY_THROW);
    model->lockControllers();
    for (const auto& [name, style] : usedPageStyles(stylesOf(m_document, "PageStyles"))) {
        pages.narrowing =
            std::max(pages.narrowing, static_cast<double>(textWidth(style)) / pages.text.width);
        const Reference<css::beans::XMultiPropertySet> properties(style, UNO_QUERY_THROW);
        properties->setPropertyValues({names.data(), static_cast<sal_Int32>(names.size())},
                                      {settings.data(), static_cast<sal_Int32>(settings.size())});
    }
    const bool isFitted =
        ContentFitter(m_document, pages, ContentFitter::Clock::now() + fittingPatience).fit();
    model->unlockControllers();
    return isFitted;
}

sal_Int32 WriterDocument::pageCount() const {
    const Reference<css::frame::XModel> model(m_document, UNO_QUERY_THROW);
    const Reference<css::beans::XPropertySet> view(model->getCurrentController(), UNO_QUERY_THROW);
    sal_Int32 count = 0;
    view->getPropertyValue("PageCount") >>= count;
    return count;
}

std::vector<std::string> WriterDocument::missingFonts() const {
    FontNames names;
    const Reference<css::style::XAutoStylesSupplier> automatic(m_document, UNO_QUERY_THROW);
    const auto styles = automatic->getAutoStyles();
    names.addAutomatic(styles, "CharacterStyles");
    names.addAutomatic(styles, "ParagraphStyles");
    names.addStyles(stylesOf(m_document, "ParagraphStyles"));
    std::vector<std::string> missing;
    std::ranges::copy_if(names.get(), std::back_inserter(missing),
                         [](const std::string& name) { return !isFontInstalled(name); });
    return missing;
}

void WriterDocument::exportPDF(const std::filesystem::path& file) const {
    const Reference<css::frame::XStorable> storable(m_document, UNO_QUERY_THROW);
    storable->storeToURL(
        fileURL(file.string()),
        sequence({property("FilterName", rtl::OUString("writer_pdf_Export")),
                  property("Overwrite", true),
                  property("FilterData", sequence({property("ExportBookmarks", true),
                                                   property("UseTaggedPDF", false),
                                                   property("UseLosslessCompression", false),
                                                   property("Quality", sal_Int32(90)),
                                                   property("ReduceImageResolution", false),
                                                   property("ExportNotes", false)}))}));
}

} // namespace quillorn::office
