#include "tests/fakes/FakeConversions.h"

#include "model/FileNames.h"
#include "tests/fakes/TestPDF.h"

#include <utility>

namespace quillorn::tests {

void FakeConversions::refuse(const std::string& name, ImportRefusal::Kind kind,
                             const std::string& reason) {
    m_refusals[name] = {kind, reason};
}

std::vector<std::string> FakeConversions::calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

ImportResult<std::string> FakeConversions::convert(const std::string& how, const std::string& path,
                                                   const std::stop_token& stop,
                                                   const std::string& target) {
    const std::string name = lastPathComponent(path);
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(how + " " + name);
    }
    if (m_during) {
        m_during();
    }
    if (stop.stop_requested()) {
        return tl::unexpected(
            ImportRefusal::make(ImportRefusal::Kind::notLegal, path, "it was cancelled"));
    }
    if (const auto refusal = m_refusals.find(name); refusal != m_refusals.end()) {
        return tl::unexpected(
            ImportRefusal::make(refusal->second.first, path, refusal->second.second));
    }
    std::string pdf =
        TestPDF(name, m_pages ? m_pages(path) : 1).writeTo(m_folder / target).string();
    if (m_after) {
        m_after();
    }
    return pdf;
}

ImportResult<std::string> FakeConversions::image2PDF(const std::string& path,
                                                     const std::stop_token& stop) {
    return convert("image2PDF", path, stop, lastPathComponent(path));
}

ImportResult<std::string> FakeConversions::html2PDF(const std::string& path,
                                                    const std::stop_token& stop) {
    return convert("html2PDF", path, stop, lastPathComponent(path));
}

ImportResult<std::string> FakeConversions::rtf2PDF(const std::string& path,
                                                   const std::stop_token& stop) {
    return convert("rtf2PDF", path, stop, lastPathComponent(path));
}

ImportResult<std::string> FakeConversions::doc2PDF(const std::string& path,
                                                   const std::stop_token& stop) {
    return convert("doc2PDF", path, stop, baseName(path) + ".doc");
}

} // namespace quillorn::tests
