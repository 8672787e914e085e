#pragma once

#include "import/HTMLConverter.h"
#include "import/PDFIntake.h"

#include <chrono>
#include <filesystem>
#include <stop_token>
#include <string>

namespace quillorn {

/// Turns Word documents into PDFs by way of HTML: the program "wvCommand", which stands beside
/// this one, says what a document is in HTML, and the converter of web pages prints that.
/// wvCommand works on a copy in a private folder, under limits, without privileges and without a
/// network. The names of files reach it as they are: no shell reads them.
class WordConverter {
public:
    struct Options {
        std::filesystem::path cacheFolder; ///< that of the HTML converter
        std::chrono::milliseconds timeLimit{30'000};
    };

    /// `html` outlives this object.
    WordConverter(HTMLConverter& html, Options options)
        : m_html(html), m_options(std::move(options)) {}

    /// Converts a document. The PDF stands in the cache folder under the document's base name with
    /// the extension "doc", and is complete; its path is returned. The HTML stands there meanwhile
    /// under the same name with the extension "html", and is printed over. After a refusal
    /// neither is there.
    [[nodiscard]] ImportResult<std::string> doc2PDF(const std::string& path,
                                                    const std::stop_token& stop = {});

private:
    /// The document as a web page that needs nothing else.
    ImportResult<std::string> htmlOf(const std::string& path, const std::stop_token& stop) const;

    HTMLConverter& m_html;
    Options m_options;
};

} // namespace quillorn
