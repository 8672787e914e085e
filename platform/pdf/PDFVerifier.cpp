#include "platform/pdf/PDFVerifier.h"

#include "platform/pdf/ActionChain.h"
#include "platform/pdf/Destinations.h"
#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFSource.h"
#include "platform/pdf/SourcePages.h"

#include <set>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t mostProblemsTold = 100;
constexpr std::size_t outlineLimit = 2'000'000;

/// Reads one document through and counts.
class Verifier {
public:
    explicit Verifier(PDFReader& reader)
        : m_document(*reader.document),
          m_tree(reader.pageTree()),
          m_uses(everyPageOf(m_tree)),
          m_pages(m_tree, m_uses, m_noPages),
          m_destinations(m_document, m_pages) {}

    PDFVerification run(std::size_t expectedPages) {
        m_result.pages = m_tree.pageCount();
        if (m_result.pages != expectedPages) {
            tell("it has " + std::to_string(m_result.pages) + " pages instead of " +
                 std::to_string(expectedPages));
        }
        for (std::size_t i = 0; i < m_tree.pageCount(); ++i) {
            verifyPage(i);
        }
        verifyOutline();
        return std::move(m_result);
    }

private:
    static std::vector<PageUse> everyPageOf(const PageTree& tree) {
        std::vector<PageUse> uses;
        for (std::size_t i = 0; i < tree.pageCount(); ++i) {
            uses.push_back(PageUse{i, i});
        }
        return uses;
    }

    void tell(std::string problem) {
        if (m_result.problems.size() < mostProblemsTold) {
            m_result.problems.push_back(std::move(problem));
        }
    }

    void verifyPage(std::size_t index) {
        const std::string name = "page " + std::to_string(index + 1);
        QPDFObjectHandle page = m_tree.page(index);
        if (!page.isInitialized()) {
            tell(name + " cannot be read");
            return;
        }
        verifyAdditionalActions(page, name);
        QPDFObjectHandle annotations = page.getKey("/Annots");
        // What pages share is looked at once.
        if (!annotations.isArray() || !isNew(annotations)) {
            return;
        }
        for (QPDFObjectHandle& annotation : annotations.getArrayAsVector()) {
            if (annotation.isDictionary() && isNew(annotation)) {
                verifyLink(annotation, name, m_result.links);
                verifyAdditionalActions(annotation, name);
            }
        }
    }

    bool isNew(const QPDFObjectHandle& object) {
        return !object.isIndirect() || m_seen.insert(object.getObjGen()).second;
    }

    void verifyAdditionalActions(QPDFObjectHandle holder, const std::string& place) {
        QPDFObjectHandle actions = holder.getKey("/AA");
        if (actions.isDictionary()) {
            for (const auto& [trigger, action] : actions.getDictAsMap()) {
                verifyAction(action, place, m_result.links);
            }
        }
    }

    /// A link, or an outline entry: `good` counts those that go to a page.
    void verifyLink(QPDFObjectHandle holder, const std::string& place, std::size_t& good) {
        QPDFObjectHandle destination = holder.getKey("/Dest");
        if (!destination.isNull()) {
            verifyDestination(destination, place, good);
        } else {
            verifyAction(holder.getKey("/A"), place, good);
        }
    }

    void verifyAction(const QPDFObjectHandle& action, const std::string& place, std::size_t& good) {
        const ActionChain chain = actionChain(action);
        if (!chain.complete) {
            tell(place + " has actions that follow each other without end");
        }
        for (QPDFObjectHandle step : chain.actions) {
            if (isGoTo(step)) {
                verifyDestination(step.getKey("/D"), place, good);
            }
        }
    }

    void verifyDestination(const QPDFObjectHandle& destination, const std::string& place,
                           std::size_t& good) {
        if (m_destinations.resolve(destination)) {
            ++good;
        } else {
            tell(place + " leads to no page of the document");
        }
    }

    void verifyOutline() {
        std::vector<QPDFObjectHandle> pending{
            m_document.getRoot().getKey("/Outlines").getKeyIfDict("/First")};
        std::set<QPDFObjGen> seen;
        while (!pending.empty() && seen.size() < outlineLimit) {
            QPDFObjectHandle entry = pending.back();
            pending.pop_back();
            if (!entry.isDictionary()) {
                continue;
            }
            if (!seen.insert(entry.getObjGen()).second) {
                tell("the outline loops");
                continue;
            }
            QPDFObjectHandle title = entry.getKey("/Title");
            verifyLink(entry,
                       "the outline entry \"" + (title.isString() ? title.getUTF8Value() : "") +
                           "\"",
                       m_result.outlineEntries);
            pending.push_back(entry.getKey("/Next"));
            pending.push_back(entry.getKey("/First"));
        }
    }

    QPDF& m_document;
    const PageTree& m_tree;
    std::vector<QPDFObjectHandle> m_noPages; ///< nothing is placed anywhere
    std::vector<PageUse> m_uses;
    SourcePages m_pages;
    Destinations m_destinations;
    std::set<QPDFObjGen> m_seen; ///< annotations and lists of them
    PDFVerification m_result;
};

} // namespace

PDFResult<PDFVerification> verifyPDF(const std::filesystem::path& file, std::size_t expectedPages) {
    auto source = PDFSource::open(file);
    if (!source) {
        return tl::unexpected(std::move(source.error()));
    }
    auto counted = (*source)->withCountedPages();
    if (!counted) {
        return tl::unexpected(std::move(counted.error()));
    }
    auto reader = (*counted)->takeReader();
    if (!reader) {
        return tl::unexpected(std::move(reader.error()));
    }
    return guardLibrary(
        PDFError::Kind::damagedPage, file, (*reader)->budget, [&]() -> PDFResult<PDFVerification> {
            PDFVerification verification = Verifier(**reader).run(expectedPages);
            for (const std::string& warning : (*source)->warnings()) {
                verification.problems.push_back("it was mended while it was read: " + warning);
            }
            return verification;
        });
}

} // namespace quillorn
