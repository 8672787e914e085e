#pragma once

#include <chrono>
#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/drawing/XShape.hpp>
#include <com/sun/star/lang/XComponent.hpp>
#include <com/sun/star/text/XTextRange.hpp>
#include <com/sun/star/text/XTextTable.hpp>
#include <com/sun/star/uno/Reference.hxx>
#include <map>

namespace quillorn::office {

/// Makes the content of a text document fit pages that it was not made for: whatever was right on
/// its own paper may be cut on ours. Rows of a fixed height grow with their text, since a table
/// that became narrower needs higher rows; rows with turned text, which never grow, become as much
/// higher as the text became narrower, or as high as a line of it is long. Tables, pictures and
/// frames that are wider than the text, the column or the cell that they stand in become as wide as
/// that, pictures in proportion, and what stands beyond the edge of the paper moves onto it.
///
/// The engine lays nothing out meanwhile (the caller has locked it). There is a deadline all the
/// same: a document that is not through by then is better refused than printed with parts missing.
/// Lengths are hundredths of millimetres. UNO's exceptions come through.
class ContentFitter {
public:
    using Clock = std::chrono::steady_clock;
    struct Area {
        sal_Int32 width = 0;
        sal_Int32 height = 0;
    };

    struct Pages {
        Area paper;
        Area text;            ///< within the margins
        double narrowing = 1; ///< how many times wider the text was before, at least 1
    };

    ContentFitter(const com::sun::star::uno::Reference<com::sun::star::lang::XComponent>& document,
                  const Pages& pages, Clock::time_point deadline)
        : m_document(document), m_pages(pages), m_deadline(deadline) {}

    /// False when the time did not suffice.
    [[nodiscard]] bool fit();

private:
    using Properties = com::sun::star::uno::Reference<com::sun::star::beans::XPropertySet>;

    bool fitTables();
    bool fitTable(const com::sun::star::uno::Reference<com::sun::star::text::XTextTable>& table);
    /// The rows, counted from 0, in which some cell's text is turned, and how many letters the
    /// longest line of that has.
    std::map<sal_Int32, sal_Int32>
    turnedRows(const com::sun::star::uno::Reference<com::sun::star::text::XTextTable>& table) const;
    bool fitShapes();
    void
    moveOntoPaper(const com::sun::star::uno::Reference<com::sun::star::drawing::XShape>& shape);
    void fitShape(const com::sun::star::uno::Reference<com::sun::star::drawing::XShape>& shape);
    /// What surrounds a piece of the text: `depth` tables at most around each other.
    Area areaAround(const com::sun::star::uno::Reference<com::sun::star::text::XTextRange>& range,
                    int depth);
    /// The narrowest of the columns that a page style or a section divides a width into.
    sal_Int32 columnWidth(const Properties& divided, sal_Int32 width) const;
    sal_Int32 cellWidth(const Properties& cell, const Properties& table, sal_Int32 width) const;
    [[nodiscard]] bool isLate() const { return Clock::now() > m_deadline; }

    com::sun::star::uno::Reference<com::sun::star::lang::XComponent> m_document;
    Pages m_pages;
    Clock::time_point m_deadline;
};

} // namespace quillorn::office
