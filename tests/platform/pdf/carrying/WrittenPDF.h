#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quillorn::tests {

/// A PDF seen through the qpdf program's JSON, so that what was written is judged by another
/// reader than the one that wrote. Pages count from 1 here, as people count them; 0 is no page.
class WrittenPDF {
public:
    using Json = nlohmann::json;

    /// Throws std::runtime_error when qpdf cannot read the file.
    explicit WrittenPDF(const std::filesystem::path& path);

    /// A value with a reference followed; for a stream its dictionary. Null for what is absent.
    [[nodiscard]] Json resolved(const Json& value) const;
    /// An entry of a dictionary (or of a stream's), resolved; null when it is not there.
    [[nodiscard]] Json entry(const Json& dictionary, const std::string& key) const;

    [[nodiscard]] Json trailer() const;
    [[nodiscard]] Json catalog() const { return entry(trailer(), "/Root"); }
    [[nodiscard]] Json information() const { return entry(trailer(), "/Info"); }
    [[nodiscard]] std::size_t objectCount() const { return m_objects.size(); }

    [[nodiscard]] std::size_t pageCount() const { return m_pages.size(); }
    [[nodiscard]] Json page(std::size_t number) const;
    /// "12 0 R"
    [[nodiscard]] std::string pageReference(std::size_t number) const;
    /// The page that a reference means.
    [[nodiscard]] std::size_t pageNumber(const Json& reference) const;
    [[nodiscard]] std::vector<Json> annotations(std::size_t page) const;

    /// "p3 /XYZ 72 700 null"; "nowhere" where the first item is no page of the document.
    [[nodiscard]] std::string destination(const Json& destination) const;
    /// Where an action or a link goes: a destination, "uri http://...", "/JavaScript", ...;
    /// what follows it comes behind ", then ".
    [[nodiscard]] std::string action(const Json& action) const;
    /// The links of a page in order.
    [[nodiscard]] std::vector<std::string> links(std::size_t page) const;

    /// One line an entry, children indented by two blanks: "Title > p3 /Fit" with " open" or
    /// " closed" behind it when it has children.
    [[nodiscard]] std::string outline() const;

    /// By full name: type, value and pages of the widgets, e.g. "/Tx (value) on 1 3"
    /// (0 for a widget of no page). Fields of
    /// one full name that are several objects are joined by " & ".
    [[nodiscard]] std::map<std::string, std::string> fields() const;

    /// Names in /EmbeddedFiles, in stored order.
    [[nodiscard]] std::vector<std::string> attachments() const;
    /// The keys of a name tree below /Names, in stored order.
    [[nodiscard]] std::vector<std::string> names(const std::string& tree) const;

    /// A text string's text: "u:..." without its mark, "" for what is no string.
    [[nodiscard]] std::string text(const Json& string) const;

private:
    void collectPages(const std::string& reference);
    void addOutline(const Json& first, std::size_t depth, std::string& lines) const;
    void addField(const Json& reference, const std::string& prefix, const Json& inherited,
                  const std::map<std::string, std::string>& widgetPages,
                  std::map<std::string, std::string>& fields) const;

    std::map<std::string, Json> m_objects; ///< by reference
    Json m_trailer;
    std::vector<std::string> m_pages;
    std::map<std::string, std::size_t> m_pageNumbers;
};

} // namespace quillorn::tests
