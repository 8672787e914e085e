#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

/// Something that pages carried and that could not come along as it was.
struct PDFCarryNote {
    enum class Kind {
        linkRemoved,         ///< a link or action whose target page stayed behind
        outlineEntryDropped, ///< an outline entry whose target page stayed behind
        outlineTargetLost,   ///< an entry that stayed, without its target, for those below it
        signatureInvalid,    ///< a signature, now only an appearance
        fieldRenamed,        ///< a form field whose name clashed with another document's
        formScriptingLost,   ///< an XFA form description, replaced by the plain form
        structureLost,       ///< the structure tree (tags)
        outputIntentLost,    ///< documents that name different printing conditions
        conformanceLost,     ///< the statement to follow PDF/A, PDF/UA or PDF/X
        structureLimited     ///< a structure too large or too deep to be sound, cut off
    };

    Kind kind;
    std::filesystem::path file; ///< the source
    std::size_t count = 0;      ///< how many of them
    std::string example;        ///< a name of one, UTF-8, or empty

    /// One line for people: "3 links removed: their target pages stayed behind".
    [[nodiscard]] std::string text() const;
};

/// A short name for reports: "link-removed".
[[nodiscard]] std::string carryNoteName(PDFCarryNote::Kind kind);

/// Counts the notes of one output.
class CarryNotes {
public:
    void add(PDFCarryNote::Kind kind, const std::filesystem::path& file,
             const std::string& example = {});
    [[nodiscard]] std::vector<PDFCarryNote> take() const;

private:
    std::map<std::pair<std::filesystem::path, PDFCarryNote::Kind>, PDFCarryNote> m_notes;
};

} // namespace quillorn
