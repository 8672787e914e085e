#include <QAbstractTextDocumentLayout>
#include <QByteArray>
#include <QColor>
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QMarginsF>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QString>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>
#include <cstdio>

// The build's own tool: makes the manual, a PDF, out of its text.
//
//   quillorn-help-book help.md Help.pdf

namespace {

constexpr int resolution = 300;  // dots per inch
constexpr qreal bodySize = 10.5; // points
constexpr qreal margin = 22;     // millimetres
constexpr qreal millimetresPerInch = 25.4;
constexpr qreal pointsPerInch = 72;

/// Gives headings, tables and code the room and the look that the importer leaves out.
void dress(QTextDocument& document) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextCursor cursor(block);
        QTextBlockFormat format = block.blockFormat();
        const bool isHeading = format.headingLevel() > 0;
        const bool isCell = cursor.currentTable() != nullptr;
        const qreal unit = resolution / pointsPerInch; // dots in a point
        format.setTopMargin((isHeading ? 16 : isCell ? 2 : 0) * unit);
        format.setBottomMargin((isHeading ? 5 : isCell ? 2 : 6) * unit);
        format.setLineHeight(125, QTextBlockFormat::ProportionalHeight);
        if (isHeading) {
            format.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
        }
        cursor.setBlockFormat(format);
    }
    for (QTextFrame* const frame : document.rootFrame()->childFrames()) {
        if (auto* const table = qobject_cast<QTextTable*>(frame)) {
            QTextTableFormat format = table->format();
            format.setWidth(QTextLength(QTextLength::PercentageLength, 100));
            format.setBorder(resolution / pointsPerInch / 2);
            format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
            format.setBorderBrush(QColor(200, 208, 220));
            format.setBorderCollapse(true);
            format.setCellPadding(3 * resolution / pointsPerInch);
            format.setColumnWidthConstraints({QTextLength(QTextLength::PercentageLength, 35),
                                              QTextLength(QTextLength::PercentageLength, 65)});
            table->setFormat(format);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: quillorn-help-book TEXT.md BOOK.pdf\n", stderr);
        return 2;
    }
    QFile file(QString::fromLocal8Bit(argv[1]));
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (text.isEmpty()) {
        std::fprintf(stderr, "%s cannot be read\n", argv[1]);
        return 1;
    }
    QPdfWriter writer(QString::fromLocal8Bit(argv[2]));
    writer.setResolution(resolution);
    writer.setTitle(QStringLiteral("Quillorn Folivane"));
    writer.setCreator(QStringLiteral("Quillorn Folivane"));
    const QPageLayout layout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                             QMarginsF(margin, margin, margin, margin), QPageLayout::Millimeter);
    writer.setPageLayout(layout);

    QTextDocument document;
    document.documentLayout()->setPaintDevice(&writer);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(bodySize);
    document.setDefaultFont(font);
    document.setDocumentMargin(0);
    document.setMarkdown(QString::fromUtf8(text), QTextDocument::MarkdownDialectGitHub);
    dress(document);
    document.setPageSize(
        QSizeF(writer.width(), writer.height() - resolution * 4 / millimetresPerInch));
    document.print(&writer);
    return 0;
}
