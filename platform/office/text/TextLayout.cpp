#include "platform/office/text/TextLayout.h"

#include <QFile>
#include <QFont>
#include <QFontMetricsF>
#include <QMarginsF>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QTextLayout>
#include <QTextLine>
#include <QTextOption>
#include <algorithm>
#include <cstddef>

namespace quillorn::text {

namespace {

constexpr int resolution = 1440; // dots per inch: twentieths of a point

constexpr double columns = 80;
constexpr double largestFontSize = 10; // points
constexpr double tabColumns = 8;

/// A line of text that is longer is laid out in parts, since that takes more than twice as long
/// for twice the length.
constexpr std::size_t longestPart = 4096;

/// Where to cut a line that is too long: behind a blank if there is one, never within a character.
std::size_t partLength(std::u16string_view line) {
    if (line.size() <= longestPart) {
        return line.size();
    }
    const std::size_t blank = line.find_last_of(u' ', longestPart - 1);
    if (blank != std::u16string_view::npos && blank > longestPart / 2) {
        return blank + 1;
    }
    const bool isInPair = line[longestPart] >= u'\xDC00' && line[longestPart] <= u'\xDFFF';
    return isInPair ? longestPart - 1 : longestPart;
}

class Typesetter {
public:
    Typesetter(const conversion::JobHeader& job, const std::filesystem::path& pdf)
        : m_writer(QFile::decodeName(pdf.c_str())) {
        m_writer.setResolution(resolution);
        m_writer.setPageLayout(QPageLayout(
            QPageSize(QSizeF(job.paperWidth, job.paperHeight), QPageSize::Point, QString(),
                      QPageSize::ExactMatch),
            QPageLayout::Portrait, QMarginsF(job.margin, job.margin, job.margin, job.margin),
            QPageLayout::Point));
        m_writer.setCreator(QStringLiteral("Quillorn Folivane"));
        m_option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    }

    /// False when the file cannot be written.
    bool write(std::u16string_view text) {
        if (!m_painter.begin(&m_writer)) {
            return false;
        }
        setFont();
        while (!text.empty()) {
            const std::size_t end = std::min(text.find_first_of(u"\n\f"), text.size());
            writeLine(text.substr(0, end));
            if (end < text.size() && text[end] == u'\f' && end + 1 < text.size()) {
                m_y = m_writer.height(); // what follows begins a page
            }
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        return m_painter.end();
    }

private:
    void setFont() {
        m_font = QFont(QStringLiteral("Liberation Mono"));
        m_font.setStyleHint(QFont::Monospace);
        m_font.setFixedPitch(true);
        m_font.setPointSizeF(largestFontSize);
        const double wanted =
            QFontMetricsF(m_font, &m_writer).horizontalAdvance(QLatin1Char('0')) * columns;
        m_font.setPointSizeF(largestFontSize * std::min(1.0, m_writer.width() / wanted));
        const QFontMetricsF metrics(m_font, &m_writer);
        m_emptyLine = metrics.height();
        m_option.setTabStopDistance(tabColumns * metrics.horizontalAdvance(QLatin1Char('0')));
    }

    void writeLine(std::u16string_view line) {
        if (line.empty()) {
            makeRoom(m_emptyLine);
            m_y += m_emptyLine;
        }
        while (!line.empty()) {
            const std::size_t length = partLength(line);
            writePart(QString::fromUtf16(line.data(), static_cast<qsizetype>(length)));
            line.remove_prefix(length);
        }
    }

    void writePart(const QString& part) {
        QTextLayout layout(part, m_font, &m_writer);
        layout.setTextOption(m_option);
        layout.setCacheEnabled(true);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(m_writer.width());
            line.setPosition(QPointF(0, 0));
        }
        layout.endLayout();
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine line = layout.lineAt(i);
            makeRoom(line.height());
            line.draw(&m_painter, QPointF(0, m_y));
            m_y += line.height();
        }
    }

    /// Begins a page when so much does not fit any more.
    void makeRoom(double height) {
        if (m_y > 0 && m_y + height > m_writer.height()) {
            m_writer.newPage();
            m_y = 0;
        }
    }

    QPdfWriter m_writer;
    QPainter m_painter;
    QFont m_font;
    QTextOption m_option;
    double m_emptyLine = 0; ///< its height, in dots as all lengths here
    double m_y = 0;         ///< where the next line goes, below the margin
};

} // namespace

bool writeTextPDF(std::u16string_view text, const conversion::JobHeader& job,
                  const std::filesystem::path& pdf) {
    return Typesetter(job, pdf).write(text);
}

} // namespace quillorn::text
