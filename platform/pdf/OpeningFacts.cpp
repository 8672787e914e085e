#include "platform/pdf/OpeningFacts.h"

#include "platform/pdf/BoundedFilters.h"
#include "platform/pdf/CrossReferences.h"
#include "platform/pdf/PageTree.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quillorn {

namespace {

/// The version in a header that begins the file.
PDFVersion headerVersion(const PDFReaderInput& input) {
    constexpr std::string_view mark = "%PDF-";
    std::array<char, 16> head{};
    const auto got = readAt(*input.descriptor, input.path, head, 0);
    const std::string_view text(head.data(), got ? *got : 0);
    return text.starts_with(mark) ? PDFVersion::parse(text.substr(mark.size())) : PDFVersion{};
}

PDFResult<OpeningFacts> lookAt(const PDFReaderInput& input) {
    const PDFError unusual{PDFError::Kind::notPDF, input.path, "it must be read as a whole"};
    OpeningFacts facts{headerVersion(input), 0};
    if (facts.version == PDFVersion{}) {
        return tl::unexpected(unusual);
    }
    CrossReferences references(input);
    QPDFObjectHandle trailer = references.trailer();
    if (trailer.hasKey("/Encrypt")) {
        return tl::unexpected(unusual);
    }
    QPDFObjectHandle catalogue = references.dictionary(trailer.getKey("/Root"));
    const auto pages = PageTree::statedPageCount(references.dictionary(catalogue.getKey("/Pages")),
                                                 trailer, input.size);
    if (!catalogue.isDictionaryOfType("/Catalog") || !pages) {
        return tl::unexpected(unusual);
    }
    facts.version = laterVersion(facts.version, catalogue);
    facts.pageCount = *pages;
    return facts;
}

} // namespace

PDFVersion laterVersion(PDFVersion header, QPDFObjectHandle catalogue) {
    QPDFObjectHandle stated = catalogue.getKey("/Version");
    return stated.isName() ? std::max(header, PDFVersion::parse(stated.getName().substr(1)))
                           : header;
}

std::optional<OpeningFacts> readOpeningFacts(const PDFReaderInput& input) {
    installBoundedFilters();
    DecodingBudget budget = DecodingBudget::forFilesOf(input.size);
    // The error does not matter: libqpdf will find one, or a way to read the file all the same.
    const auto facts = guardLibrary(PDFError::Kind::notPDF, input.path, budget,
                                    [&input] { return lookAt(input); });
    return facts ? std::optional(*facts) : std::nullopt;
}

std::optional<OpeningFacts> openingFactsByLibrary(const PDFReaderInput& input) {
    const auto reader = PDFReader::open(input);
    if (!reader || !(*reader)->inOrder || (*reader)->document->isEncrypted()) {
        return std::nullopt;
    }
    const auto facts = guardLibrary(
        PDFError::Kind::notPDF, input.path, (*reader)->budget, [&]() -> PDFResult<OpeningFacts> {
            QPDF& document = *(*reader)->document;
            const auto stated = PageTree::statedPageCount(document, input.size);
            if (!stated) {
                return tl::unexpected(PDFError{PDFError::Kind::notPDF, input.path, "too short"});
            }
            const PDFVersion header = PDFVersion::parse(document.getPDFVersion());
            return OpeningFacts{laterVersion(header, document.getRoot()), *stated};
        });
    return facts ? std::optional(*facts) : std::nullopt;
}

} // namespace quillorn
