#include "platform/pdf/PDFReader.h"

#include "platform/pdf/BoundedFilters.h"
#include "platform/pdf/DescriptorInputSource.h"

#include <exception>
#include <new>
#include <qpdf/QPDFExc.hh>
#include <stdexcept>

namespace quillorn {

namespace {

std::string reasonOf(const QPDFExc& error) {
    return error.getMessageDetail().empty() ? std::string(error.what()) : error.getMessageDetail();
}

PDFError withoutMemory(const std::filesystem::path& file) {
    return PDFError{PDFError::Kind::tooLarge, file, "there is not enough memory for it"};
}

} // namespace

PDFError currentExceptionAsError(PDFError::Kind kind, const std::filesystem::path& file) {
    try {
        throw;
    } catch (const QPDFExc& error) {
        const bool password = error.getErrorCode() == qpdf_e_password;
        return PDFError{password ? PDFError::Kind::locked : kind, file, reasonOf(error)};
    } catch (const std::bad_alloc&) {
        return withoutMemory(file);
    } catch (const std::length_error&) {
        return withoutMemory(file);
    } catch (const std::exception& error) {
        return PDFError{kind, file, error.what()};
    }
}

std::optional<PDFError> LibraryUse::shortage(const std::filesystem::path& file) const {
    if (m_budget.isExceeded()) {
        return PDFError{PDFError::Kind::tooLarge, file,
                        "it unpacks to far more data than a document of its size holds"};
    }
    return memoryShortages() != m_shortagesBefore ? std::optional(withoutMemory(file))
                                                  : std::nullopt;
}

PageTree& PDFReader::pageTree() {
    if (!pages) {
        pages = std::make_unique<PageTree>(*document, inOrder ? PageTree::Reading::lazy
                                                              : PageTree::Reading::thorough);
    }
    return *pages;
}

PDFResult<std::unique_ptr<PDFReader>> PDFReader::open(const PDFReaderInput& input) {
    using Result = PDFResult<std::unique_ptr<PDFReader>>;
    installBoundedFilters();
    auto reader = std::make_unique<PDFReader>(DecodingBudget::forFilesOf(input.size));
    return guardLibrary(PDFError::Kind::notPDF, input.path, reader->budget, [&]() -> Result {
        reader->document = std::make_unique<QPDF>();
        reader->document->setSuppressWarnings(true);
        reader->document->processInputSource(std::make_shared<DescriptorInputSource>(
                                                 input.descriptor, input.path.string(), input.size),
                                             input.password.c_str());
        reader->inOrder = !reader->document->anyWarnings();
        return std::move(reader);
    });
}

} // namespace quillorn
