#pragma once

#include "import/DocumentConversions.h"
#include "import/HTMLConverter.h"
#include "import/NameTurns.h"
#include "import/RtfToPDF.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

/// The conversions of the window. Their engines are started by the first file that needs one and
/// kept until this object ends; files for one engine take turns, and one that is cancelled while it
/// waits for its turn does not wait any longer.
class ProgramConversions final : public DocumentConversions {
public:
    struct Options {
        std::filesystem::path workerFolder; ///< holds the programs that decode images
        std::filesystem::path cacheFolder;  ///< takes the PDFs
        bool keepsPageSetup = false;        ///< whether text documents keep their own pages
        bool allowsRemote = false;          ///< whether web pages may fetch from other machines
        /// Told what people should know about a file that was converted, with the name of the
        /// file. Any thread.
        std::function<void(const std::string& notice)> tell;
    };

    explicit ProgramConversions(Options options);

    [[nodiscard]] ImportResult<std::string> image2PDF(const std::string& path,
                                                      const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> html2PDF(const std::string& path,
                                                     const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> rtf2PDF(const std::string& path,
                                                    const std::stop_token& stop) override;
    [[nodiscard]] ImportResult<std::string> doc2PDF(const std::string& path,
                                                    const std::stop_token& stop) override;

private:
    /// The converter of web pages, opened now if need be; in its turn.
    [[nodiscard]] ImportResult<HTMLConverter*> htmlConverter(const std::string& path);

    Options m_options;
    NameTurns m_turns;                     ///< of using each of these, with its engines
    std::unique_ptr<HTMLConverter> m_html; ///< opened by the first page
    TextDocumentConverter m_texts;
};

} // namespace quillorn
