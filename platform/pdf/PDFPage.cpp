#include "platform/pdf/PDFPage.h"

#include "platform/pdf/PaperSize.h"

namespace quillorn {

PDFPage::PDFPage() {
    m_reference.blankSize = defaultPaperSize();
}

int PDFPage::sourceRotation() const {
    if (!m_reference.source) {
        return 0;
    }
    const auto geometry = m_reference.source->geometry(m_reference.index);
    return geometry ? geometry->rotation : 0;
}

int PDFPage::rotation() const {
    return sourceRotation() + m_reference.addedRotation;
}

void PDFPage::setRotation(int degrees) {
    m_reference.addedRotation = degrees - sourceRotation();
}

PDFResult<PDFPageGeometry> PDFPage::geometry() const {
    if (!m_reference.source) {
        const PDFBox box{0, 0, m_reference.blankSize.width, m_reference.blankSize.height};
        return PDFPageGeometry{box, box, box, box, box, m_reference.addedRotation, 1};
    }
    auto geometry = m_reference.source->geometry(m_reference.index);
    if (geometry) {
        geometry->rotation += m_reference.addedRotation;
    }
    return geometry;
}

} // namespace quillorn
