#include "tests/fakes/HostilePDF.h"

namespace quillorn::tests {

PackedPDF& PackedPDF::parameters(const std::string& entries) {
    m_parameters = entries;
    return *this;
}

PackedPDF& PackedPDF::pageEntries(const std::string& entries) {
    m_pageEntries = entries;
    return *this;
}

PackedPDF& PackedPDF::object(const std::string& body) {
    m_objects.push_back(body);
    return *this;
}

PackedPDF& PackedPDF::padding(std::size_t bytes) {
    m_padding = bytes;
    return *this;
}

RawPDF PackedPDF::pdf() const {
    std::vector<std::string> all{
        "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 345 100] " + m_pageEntries + " >>"};
    all.insert(all.end(), m_objects.begin(), m_objects.end());
    std::string index;
    std::string bodies;
    RawPDF result;
    for (std::size_t i = 0; i < all.size(); ++i) {
        // The stream itself has the number 10.
        const int number = static_cast<int>(i < 9 ? i + 1 : i + 2);
        index += std::to_string(number) + " " + std::to_string(bodies.size()) + " ";
        bodies += all[i] + "\n";
        result.compressed(number, 10, i);
    }
    result.stream(10,
                  "/Type /ObjStm /N " + std::to_string(all.size()) + " /First " +
                      std::to_string(index.size()) + " /Filter [" + m_filters + "] " + m_parameters,
                  m_encode(index + bodies + std::string(m_padding, ' ')));
    return result;
}

std::string twiceDeflated(const std::string& data) {
    return deflated(deflated(data));
}

std::string arrayOfIntegers(std::size_t bytes) {
    std::string text(bytes, ' ');
    for (std::size_t i = 1; i + 1 < bytes; i += 2) {
        text[i] = '0';
    }
    text.front() = '[';
    text.back() = ']';
    return text;
}

std::string pdfOfCrossReferences(std::size_t bytes) {
    const std::string start = "%PDF-1.5\n1 0 obj\n<< /Type /Catalog /Pages 3 0 R >>\nendobj\n";
    const std::string entries = twiceDeflated(std::string(bytes, '\1'));
    return start + "2 0 obj\n<< /Type /XRef /W [1 1 0] /Root 1 0 R /Size " +
           std::to_string(bytes / 2) + " /Filter [/FlateDecode /FlateDecode] /Length " +
           std::to_string(entries.size()) + " >>\nstream\n" + entries +
           "\nendstream\nendobj\nstartxref\n" + std::to_string(start.size()) + "\n%%EOF\n";
}

} // namespace quillorn::tests
