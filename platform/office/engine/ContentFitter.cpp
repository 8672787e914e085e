#include "platform/office/engine/ContentFitter.h"

#include <algorithm>
#include <com/sun/star/awt/Size.hpp>
#include <com/sun/star/beans/UnknownPropertyException.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNameAccess.hpp>
#include <com/sun/star/drawing/XDrawPageSupplier.hpp>
#include <com/sun/star/lang/XServiceInfo.hpp>
#include <com/sun/star/style/XStyleFamiliesSupplier.hpp>
#include <com/sun/star/table/XTableRows.hpp>
#include <com/sun/star/text/HoriOrientation.hpp>
#include <com/sun/star/text/RelOrientation.hpp>
#include <com/sun/star/text/SizeType.hpp>
#include <com/sun/star/text/TableColumnSeparator.hpp>
#include <com/sun/star/text/TextColumn.hpp>
#include <com/sun/star/text/TextContentAnchorType.hpp>
#include <com/sun/star/text/VertOrientation.hpp>
#include <com/sun/star/text/WritingMode2.hpp>
#include <com/sun/star/text/XText.hpp>
#include <com/sun/star/text/XTextColumns.hpp>
#include <com/sun/star/text/XTextContent.hpp>
#include <com/sun/star/text/XTextTablesSupplier.hpp>
#include <com/sun/star/uno/Sequence.hxx>
#include <map>

namespace quillorn::office {

namespace css = com::sun::star;
using css::uno::Any;
using css::uno::Reference;
using css::uno::Sequence;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;

namespace {

/// Deeper ones get the width of the cell around them.
constexpr int mostNestedTables = 4;

/// What a row that fills the text leaves free, for borders.
constexpr sal_Int32 rowSlack = 500;

/// A row without a height of its own, whose text is turned, would have none. It becomes as high as
/// its longest line at this width of a letter, which few letters reach on average.
constexpr double letterWidth = 250;
constexpr sal_Int32 fewestLetters = 4;

/// A column or a cell is no narrower than this, whatever its document says: 5 mm.
constexpr sal_Int32 leastWidth = 500;

/// Of an object that has no such property, the value that a fresh one would have.
template <class Value>
Value valueOf(const Reference<css::beans::XPropertySet>& properties, const char* name) {
    Value value{};
    try {
        properties->getPropertyValue(rtl::OUString::createFromAscii(name)) >>= value;
    } catch (const css::beans::UnknownPropertyException&) {
        return Value{};
    }
    return value;
}

template <class Value>
void set(const Reference<css::beans::XPropertySet>& properties, const char* name, Value value) {
    properties->setPropertyValue(rtl::OUString::createFromAscii(name), Any(value));
}

/// A cell is called by letters for its column, in base 52 with "A" as the first, and the number
/// of its row: "A1", "b12", "AB3".
struct CellPlace {
    sal_Int32 column = -1;
    sal_Int32 row = -1;
};

CellPlace placeOf(const rtl::OUString& name) {
    constexpr sal_Int32 letters = 26;
    CellPlace place;
    sal_Int32 i = 0;
    for (; i < name.getLength() && place.column < 10'000; ++i) {
        const sal_Unicode letter = name[i];
        sal_Int32 digit = -1;
        if (letter >= 'A' && letter <= 'Z') {
            digit = letter - 'A';
        } else if (letter >= 'a' && letter <= 'z') {
            digit = letters + letter - 'a';
        } else {
            break;
        }
        place.column = (place.column + 1) * 2 * letters + digit;
    }
    place.row = name.copy(i).toInt32() - 1;
    return place;
}

/// In letters.
sal_Int32 longestLine(const rtl::OUString& text) {
    sal_Int32 longest = 0;
    for (sal_Int32 start = 0; start < text.getLength();) {
        const sal_Int32 found = text.indexOf('\n', start);
        const sal_Int32 end = found < 0 ? text.getLength() : found;
        longest = std::max(longest, end - start);
        start = end + 1;
    }
    return longest;
}

} // namespace

bool ContentFitter::fit() {
    return fitTables() && fitShapes();
}

bool ContentFitter::fitTables() {
    const Reference<css::text::XTextTablesSupplier> supplier(m_document, UNO_QUERY_THROW);
    const Reference<css::container::XIndexAccess> tables(supplier->getTextTables(),
                                                         UNO_QUERY_THROW);
    const sal_Int32 count = tables->getCount();
    for (sal_Int32 i = 0; i < count; ++i) {
        const Reference<css::text::XTextTable> table(tables->getByIndex(i), UNO_QUERY_THROW);
        if (!fitTable(table)) {
            return false;
        }
    }
    return true;
}

bool ContentFitter::fitTable(const Reference<css::text::XTextTable>& table) {
    const Properties properties(table, UNO_QUERY_THROW);
    if (!valueOf<bool>(properties, "IsWidthRelative")) {
        const auto indent = valueOf<sal_Int32>(properties, "LeftMargin");
        const sal_Int32 end = indent + valueOf<sal_Int32>(properties, "Width");
        if (end > m_pages.text.width ||
            end > areaAround(table->getAnchor(), mostNestedTables).width) {
            set(properties, "HoriOrient", sal_Int16(css::text::HoriOrientation::FULL));
        }
    }
    const std::map<sal_Int32, sal_Int32> turned = turnedRows(table);
    const Reference<css::table::XTableRows> rows = table->getRows();
    const sal_Int32 count = rows->getCount();
    for (sal_Int32 i = 0; i < count; ++i) {
        if (isLate()) {
            return false;
        }
        const Properties row(rows->getByIndex(i), UNO_QUERY_THROW);
        const bool isFree = valueOf<sal_Int16>(row, "SizeType") == css::text::SizeType::VARIABLE;
        const auto place = turned.find(i);
        if (isFree && place == turned.end()) {
            continue;
        }
        if (place != turned.end()) {
            const double wanted = isFree ? place->second * letterWidth
                                         : valueOf<sal_Int32>(row, "Height") * m_pages.narrowing;
            const double most = m_pages.text.height - rowSlack;
            set(row, "Height", static_cast<sal_Int32>(std::min(wanted, most)));
        }
        set(row, "SizeType", sal_Int16(css::text::SizeType::MIN));
    }
    return true;
}

std::map<sal_Int32, sal_Int32>
ContentFitter::turnedRows(const Reference<css::text::XTextTable>& table) const {
    std::map<sal_Int32, sal_Int32> rows;
    for (const rtl::OUString& name : table->getCellNames()) {
        const Properties cell(table->getCellByName(name), UNO_QUERY);
        if (isLate() || !cell.is()) {
            break;
        }
        const auto mode = valueOf<sal_Int16>(cell, "WritingMode");
        if (mode != css::text::WritingMode2::LR_TB && mode != css::text::WritingMode2::RL_TB &&
            mode != css::text::WritingMode2::PAGE && mode != css::text::WritingMode2::CONTEXT) {
            const Reference<css::text::XText> text(cell, UNO_QUERY_THROW);
            sal_Int32& longest = rows[placeOf(name).row];
            longest = std::max({longest, longestLine(text->getString()), fewestLetters});
        }
    }
    return rows;
}

bool ContentFitter::fitShapes() {
    const Reference<css::drawing::XDrawPageSupplier> supplier(m_document, UNO_QUERY_THROW);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // a text document has no other way
    const auto page = supplier->getDrawPage();
#pragma GCC diagnostic pop
    const sal_Int32 count = page->getCount();
    for (sal_Int32 i = 0; i < count; ++i) {
        if (isLate()) {
            return false;
        }
        const Reference<css::drawing::XShape> shape(page->getByIndex(i), UNO_QUERY);
        if (shape.is()) {
            fitShape(shape);
        }
    }
    return true;
}

void ContentFitter::fitShape(const Reference<css::drawing::XShape>& shape) {
    const Reference<css::text::XTextContent> content(shape, UNO_QUERY);
    const Properties properties(shape, UNO_QUERY);
    const css::awt::Size size = shape->getSize();
    if (!content.is() || !properties.is() || size.Width <= 0 || size.Height <= 0) {
        return;
    }
    Area area = areaAround(content->getAnchor(), mostNestedTables);
    if (valueOf<css::text::TextContentAnchorType>(properties, "AnchorType") ==
        css::text::TextContentAnchorType_AS_CHARACTER) {
        area.width -= valueOf<sal_Int32>(properties, "LeftMargin") +
                      valueOf<sal_Int32>(properties, "RightMargin");
        area.height -= valueOf<sal_Int32>(properties, "TopMargin") +
                       valueOf<sal_Int32>(properties, "BottomMargin");
    }
    area.width = std::max(area.width, leastWidth);
    area.height = std::max(area.height, leastWidth);
    if (size.Width > area.width || size.Height > area.height) {
        const Reference<css::lang::XServiceInfo> info(shape, UNO_QUERY_THROW);
        if (info->supportsService("com.sun.star.text.TextFrame")) {
            // Its text needs the more height the narrower it is.
            set(properties, "SizeType", sal_Int16(css::text::SizeType::MIN));
            shape->setSize({std::min(size.Width, area.width), std::min(size.Height, area.height)});
        } else {
            const double scale = std::min({1.0, static_cast<double>(area.width) / size.Width,
                                           static_cast<double>(area.height) / size.Height});
            shape->setSize({static_cast<sal_Int32>(size.Width * scale),
                            static_cast<sal_Int32>(size.Height * scale)});
        }
    }
    moveOntoPaper(shape);
}

void ContentFitter::moveOntoPaper(const Reference<css::drawing::XShape>& shape) {
    namespace relation = css::text::RelOrientation;
    const Properties properties(shape, UNO_QUERY_THROW);
    if (valueOf<css::text::TextContentAnchorType>(properties, "AnchorType") ==
        css::text::TextContentAnchorType_AS_CHARACTER) {
        return;
    }
    const css::awt::Size size = shape->getSize();
    if (valueOf<sal_Int16>(properties, "HoriOrient") == css::text::HoriOrientation::NONE) {
        const auto from = valueOf<sal_Int16>(properties, "HoriOrientRelation");
        const auto left = valueOf<sal_Int32>(properties, "HoriOrientPosition");
        const Area& whole = from == relation::PAGE_FRAME ? m_pages.paper : m_pages.text;
        const sal_Int32 most = std::max<sal_Int32>(whole.width - size.Width, 0);
        if (left > most) {
            set(properties, "HoriOrientPosition", most);
        }
    }
    if (valueOf<sal_Int16>(properties, "VertOrient") == css::text::VertOrientation::NONE) {
        const auto from = valueOf<sal_Int16>(properties, "VertOrientRelation");
        const auto top = valueOf<sal_Int32>(properties, "VertOrientPosition");
        const bool isOnPage = from == relation::PAGE_FRAME || from == relation::PAGE_PRINT_AREA;
        const Area& whole = from == relation::PAGE_FRAME ? m_pages.paper : m_pages.text;
        const sal_Int32 most = std::max<sal_Int32>(whole.height - size.Height, 0);
        if (isOnPage && top > most) {
            set(properties, "VertOrientPosition", most);
        }
    }
}

ContentFitter::Area ContentFitter::areaAround(const Reference<css::text::XTextRange>& range,
                                              int depth) {
    const Properties place(range, UNO_QUERY);
    if (!place.is()) {
        return m_pages.text; // it belongs to a page
    }
    Area area = m_pages.text;
    if (const auto table = valueOf<Reference<css::text::XTextTable>>(place, "TextTable");
        table.is()) {
        const Properties properties(table, UNO_QUERY_THROW);
        const Properties cell(valueOf<Reference<css::uno::XInterface>>(place, "Cell"), UNO_QUERY);
        const Area outside = depth > 0 ? areaAround(table->getAnchor(), depth - 1)
                                       : Area{leastWidth, m_pages.text.height};
        area.width = cell.is() ? cellWidth(cell, properties, outside.width) : outside.width;
        return area;
    }
    if (const Properties section(valueOf<Reference<css::uno::XInterface>>(place, "TextSection"),
                                 UNO_QUERY);
        section.is()) {
        area.width = columnWidth(section, area.width);
    }
    const auto style = valueOf<rtl::OUString>(place, "PageStyleName");
    const Reference<css::style::XStyleFamiliesSupplier> supplier(m_document, UNO_QUERY_THROW);
    const Reference<css::container::XNameAccess> styles(
        supplier->getStyleFamilies()->getByName("PageStyles"), UNO_QUERY_THROW);
    if (styles->hasByName(style)) {
        const Properties pages(styles->getByName(style), UNO_QUERY_THROW);
        area.width = columnWidth(pages, area.width);
    }
    return area;
}

sal_Int32 ContentFitter::columnWidth(const Properties& divided, sal_Int32 width) const {
    const auto columns = valueOf<Reference<css::text::XTextColumns>>(divided, "TextColumns");
    if (!columns.is() || columns->getColumnCount() < 2 || columns->getReferenceValue() <= 0) {
        return width;
    }
    const double share = static_cast<double>(width) / columns->getReferenceValue();
    sal_Int32 narrowest = width;
    for (const css::text::TextColumn& column : columns->getColumns()) {
        narrowest = std::min(narrowest, static_cast<sal_Int32>(column.Width * share) -
                                            column.LeftMargin - column.RightMargin);
    }
    return std::max(narrowest, leastWidth);
}

sal_Int32 ContentFitter::cellWidth(const Properties& cell, const Properties& table,
                                   sal_Int32 width) const {
    if (const auto own = valueOf<sal_Int32>(table, "Width"); own > 0) {
        width = std::min(width, own);
    }
    const CellPlace place = placeOf(valueOf<rtl::OUString>(cell, "CellName"));
    const Reference<css::text::XTextTable> text(table, UNO_QUERY_THROW);
    const auto rows = text->getRows();
    const auto whole = valueOf<sal_Int16>(table, "TableColumnRelativeSum");
    if (place.column < 0 || place.row < 0 || place.row >= rows->getCount() || whole <= 0) {
        return width;
    }
    const Properties row(rows->getByIndex(place.row), UNO_QUERY_THROW);
    const auto ends =
        valueOf<Sequence<css::text::TableColumnSeparator>>(row, "TableColumnSeparators");
    const auto endOf = [&](sal_Int32 column) -> sal_Int32 {
        return column < 0 ? 0 : column < ends.getLength() ? ends[column].Position : whole;
    };
    const sal_Int32 share = endOf(place.column) - endOf(place.column - 1);
    sal_Int32 inside = static_cast<sal_Int32>(static_cast<double>(width) * share / whole);
    for (const char* const distance : {"LeftBorderDistance", "RightBorderDistance"}) {
        inside -= valueOf<sal_Int32>(cell, distance);
    }
    return std::max(inside, leastWidth);
}

} // namespace quillorn::office
