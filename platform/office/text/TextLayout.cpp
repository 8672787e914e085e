#include "platform/office/text/TextLayout.h"

#include <QFont>
#include <QFontMetricsF>
#include <QIODevice>
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
#include <cerrno>
#include <cstddef>
#include <string>
#include <unistd.h>

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

/// The open file that takes the PDF. Qt's writer looks at no result of its device, so this one
/// remembers that something did not get through.
class Output final : public QIODevice {
public:
    explicit Output(int file) : m_file(file) { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }
    [[nodiscard]] bool isSequential() const override { return true; }

    /// Writes what waits: the writer says what it has to say in many small pieces.
    void flush() {
        std::string_view rest = m_waiting;
        while (!rest.empty() && !m_hasFailed) {
            const ssize_t put = ::write(m_file, rest.data(), rest.size());
            if (put > 0) {
                rest.remove_prefix(static_cast<std::size_t>(put));
            } else if (put == 0 || errno != EINTR) {
                m_hasFailed = true;
            }
        }
        m_waiting.clear();
    }

protected:
    qint64 readData(char* /*data*/, qint64 /*most*/) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        m_waiting.append(data, static_cast<std::size_t>(size));
        if (m_waiting.size() >= blockSize) {
            flush();
        }
        return size;
    }

private:
    static constexpr std::size_t blockSize = std::size_t{64} << 10U;

    int m_file;
    std::string m_waiting;
    bool m_hasFailed = false;
};

class Typesetter {
public:
    Typesetter(const conversion::JobHeader& job, int pdf) : m_output(pdf), m_writer(&m_output) {
        m_writer.setResolution(resolution);
        m_writer.setPageLayout(QPageLayout(
            QPageSize(QSizeF(job.paperWidth, job.paperHeight), QPageSize::Point, QString(),
                      QPageSize::ExactMatch),
            QPageLayout::Portrait, QMarginsF(job.margin, job.margin, job.margin, job.margin),
            QPageLayout::Point));
        m_writer.setCreator(QStringLiteral("Quillorn Folivane"));
        m_option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    }

    TextPDF write(std::u16string_view text) {
        if (!m_painter.begin(&m_writer)) {
            return TextPDF::notWritten;
        }
        setFont();
        while (!text.empty() && m_pages <= mostTextPages && !m_output.hasFailed()) {
            const std::size_t end = std::min(text.find_first_of(u"\n\f"), text.size());
            writeLine(text.substr(0, end));
            if (end < text.size() && text[end] == u'\f') {
                beginPage();
            }
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        const bool isWhole = m_painter.end();
        m_output.flush();
        if (!isWhole || m_output.hasFailed()) {
            return TextPDF::notWritten;
        }
        return m_pages > mostTextPages ? TextPDF::tooLong : TextPDF::written;
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

    /// What comes next begins a page. Nothing on paper yet: a page that nothing stands on would be
    /// a blank sheet, be it because form feeds follow each other or because one ends the text.
    void beginPage() {
        m_isPageDue = m_isPageDue || m_isInked;
        m_emptyLines = 0;
    }

    void writeLine(std::u16string_view line) {
        if (line.find_first_not_of(u" \t") == std::u16string_view::npos) {
            ++m_emptyLines;
            return;
        }
        if (m_isPageDue) {
            newPage();
            m_isPageDue = false;
        }
        if (static_cast<double>(m_emptyLines) * m_emptyLine > m_writer.height() * mostTextPages) {
            m_pages = mostTextPages + 1; // need not be made to be counted
            return;
        }
        for (; m_emptyLines > 0 && m_pages <= mostTextPages; --m_emptyLines) {
            makeRoom(m_emptyLine);
            m_y += m_emptyLine;
        }
        m_isInked = true;
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
            newPage();
        }
    }

    void newPage() {
        m_writer.newPage();
        ++m_pages;
        m_y = 0;
    }

    Output m_output; ///< outlives the writer, which has its last words at its end
    QPdfWriter m_writer;
    QPainter m_painter;
    QFont m_font;
    QTextOption m_option;
    double m_emptyLine = 0; ///< its height, in dots as all lengths here
    double m_y = 0;         ///< where the next line goes, below the margin
    int m_pages = 1;
    std::size_t m_emptyLines = 0; ///< that were read and stand on no page yet
    bool m_isInked = false;       ///< something stands on some page
    bool m_isPageDue = false;     ///< what comes next begins a page
};

} // namespace

TextPDF writeTextPDF(std::u16string_view text, const conversion::JobHeader& job, int pdf) {
    return Typesetter(job, pdf).write(text);
}

} // namespace quillorn::text
