#include "platform/pdf/CarryNotes.h"

namespace quillorn {

namespace {

struct Wording {
    const char* name;
    const char* one;
    const char* many;
    const char* why;
};

Wording wordingOf(PDFCarryNote::Kind kind) {
    using Kind = PDFCarryNote::Kind;
    switch (kind) {
    case Kind::linkRemoved:
        return {"link-removed", "link removed", "links removed", "the target stayed behind"};
    case Kind::outlineEntryDropped:
        return {"outline-entry-dropped", "outline entry dropped", "outline entries dropped",
                "the target stayed behind"};
    case Kind::outlineTargetLost:
        return {"outline-target-lost", "outline entry kept as a heading",
                "outline entries kept as headings", "the target stayed behind"};
    case Kind::signatureInvalid:
        return {"signature-invalid", "signature kept as a picture only",
                "signatures kept as pictures only", "a changed document is no longer signed"};
    case Kind::fieldRenamed:
        return {"field-renamed", "form field renamed", "form fields renamed",
                "another document uses the name"};
    case Kind::formScriptingLost:
        return {"xfa-dropped", "XFA form description dropped", "XFA form descriptions dropped",
                "it describes the whole document; the plain form fields are kept"};
    case Kind::structureLost:
        return {"structure-dropped", "structure tree dropped", "structure trees dropped",
                "it describes a whole document and nothing beside it"};
    case Kind::outputIntentLost:
        return {"output-intent-dropped", "output intent dropped", "output intents dropped",
                "the documents name different printing conditions"};
    case Kind::conformanceLost:
        return {"conformance-dropped", "statement of conformance dropped",
                "statements of conformance dropped",
                "nothing checks that the new document follows PDF/A, PDF/UA or PDF/X"};
    case Kind::structureLimited:
        return {"structure-limited", "structure cut off", "structures cut off",
                "it is damaged or larger than any reader could use"};
    }
    return {"", "", "", ""};
}

/// UTF-8 text, cut where it is longer than a line can take.
std::string shortened(const std::string& text) {
    constexpr std::size_t longestExample = 200; // bytes
    if (text.size() <= longestExample) {
        return text;
    }
    std::size_t end = longestExample;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U) {
        --end; // not amid a character
    }
    return text.substr(0, end) + "...";
}

} // namespace

std::string PDFCarryNote::text() const {
    const Wording words = wordingOf(kind);
    std::string text = std::to_string(count) + " " + (count == 1 ? words.one : words.many);
    if (!example.empty()) {
        text += " (" + example + (count > 1 ? ", ...)" : ")");
    }
    return text + ": " + words.why;
}

std::string carryNoteName(PDFCarryNote::Kind kind) {
    return wordingOf(kind).name;
}

void CarryNotes::add(PDFCarryNote::Kind kind, const std::filesystem::path& file,
                     const std::string& example) {
    const auto [note, isNew] = m_notes.try_emplace({file, kind}, PDFCarryNote{kind, file, 0, {}});
    if (isNew) {
        note->second.example = shortened(example);
    }
    ++note->second.count;
}

std::vector<PDFCarryNote> CarryNotes::take() const {
    std::vector<PDFCarryNote> notes;
    notes.reserve(m_notes.size());
    for (const auto& [key, note] : m_notes) {
        notes.push_back(note);
    }
    return notes;
}

} // namespace quillorn
