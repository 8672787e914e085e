#include "tests/platform/pdf/carrying/WrittenPDF.h"

#include "tests/platform/pdf/carrying/Program.h"

#include <stdexcept>
#include <utility>

namespace quillorn::tests {

namespace {

using Json = nlohmann::json;

constexpr std::size_t deepestOutline = 1'000;

bool isReference(const Json& value) {
    if (!value.is_string()) {
        return false;
    }
    const auto& text = value.get_ref<const std::string&>();
    return text.size() > 4 && text.ends_with(" R") && text[0] >= '0' && text[0] <= '9';
}

/// Hexadecimal bytes as the letters that they mean in the encoding of PDF strings, most of which
/// stand where Latin-1 has them.
std::string latin1(const std::string& hexadecimal) {
    std::string text;
    for (std::size_t i = 0; i + 1 < hexadecimal.size(); i += 2) {
        const auto byte = static_cast<unsigned>(std::stoul(hexadecimal.substr(i, 2), nullptr, 16));
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0U | (byte >> 6U));
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return text;
}

} // namespace

WrittenPDF::WrittenPDF(const std::filesystem::path& path) {
    const ProgramRun run = runProgram(
        {"qpdf", "--json=2", "--json-key=qpdf", "--json-stream-data=none", path.string()});
    if (run.status != 0) {
        throw std::runtime_error("qpdf cannot read " + path.string() + ": " +
                                 run.output.substr(0, 2000));
    }
    Json document = Json::parse(run.output);
    for (auto& [key, object] : document.at("qpdf").at(1).items()) {
        Json& value = object.contains("value") ? object["value"] : object.at("stream").at("dict");
        if (key == "trailer") {
            m_trailer = std::move(value);
        } else {
            m_objects.emplace(key.substr(std::string("obj:").size()), std::move(value));
        }
    }
    collectPages(catalog().at("/Pages").get<std::string>());
}

void WrittenPDF::collectPages(const std::string& reference) {
    const Json node = resolved(reference);
    if (node.contains("/Kids")) {
        for (const Json& kid : resolved(node["/Kids"])) {
            collectPages(kid.get<std::string>());
        }
        return;
    }
    m_pages.push_back(reference);
    if (!m_pageNumbers.emplace(reference, m_pages.size()).second) {
        throw std::runtime_error("page object " + reference + " stands twice in the page tree");
    }
}

Json WrittenPDF::resolved(const Json& value) const {
    if (!isReference(value)) {
        return value;
    }
    const auto found = m_objects.find(value.get<std::string>());
    return found == m_objects.end() ? Json() : found->second;
}

Json WrittenPDF::entry(const Json& dictionary, const std::string& key) const {
    const Json holder = resolved(dictionary);
    return holder.is_object() && holder.contains(key) ? resolved(holder[key]) : Json();
}

Json WrittenPDF::trailer() const {
    return m_trailer;
}

Json WrittenPDF::page(std::size_t number) const {
    return resolved(pageReference(number));
}

std::string WrittenPDF::pageReference(std::size_t number) const {
    return m_pages.at(number - 1);
}

std::size_t WrittenPDF::pageNumber(const Json& reference) const {
    const auto found = isReference(reference) ? m_pageNumbers.find(reference.get<std::string>())
                                              : m_pageNumbers.end();
    return found == m_pageNumbers.end() ? 0 : found->second;
}

std::vector<Json> WrittenPDF::annotations(std::size_t page) const {
    std::vector<Json> all;
    const Json list = entry(this->page(page), "/Annots");
    if (list.is_array()) {
        for (const Json& item : list) {
            all.push_back(resolved(item));
        }
    }
    return all;
}

std::string WrittenPDF::destination(const Json& destination) const {
    const Json items = resolved(destination);
    if (!items.is_array() || items.empty()) {
        return "nowhere";
    }
    const std::size_t page = pageNumber(items[0]);
    std::string text = page == 0 ? "nowhere" : "p" + std::to_string(page);
    for (std::size_t i = 1; i < items.size(); ++i) {
        const Json item = resolved(items[i]);
        text += " " + (item.is_string() ? item.get<std::string>() : item.dump());
    }
    return text;
}

std::string WrittenPDF::action(const Json& action) const {
    const Json kind = entry(action, "/S");
    if (!kind.is_string()) {
        return "nothing";
    }
    std::string result = kind.get<std::string>();
    if (result == "/GoTo") {
        result = destination(entry(action, "/D"));
    } else if (result == "/URI") {
        result = "uri " + text(entry(action, "/URI"));
    }
    const Json next = entry(action, "/Next");
    if (next.is_array()) {
        for (const Json& item : next) {
            result += ", then " + this->action(item);
        }
    } else if (!next.is_null()) {
        result += ", then " + this->action(next);
    }
    return result;
}

std::vector<std::string> WrittenPDF::links(std::size_t page) const {
    std::vector<std::string> found;
    for (const Json& annotation : annotations(page)) {
        if (annotation.value("/Subtype", "") == "/Link") {
            const Json target = entry(annotation, "/Dest");
            found.push_back(target.is_null() ? action(entry(annotation, "/A"))
                                             : destination(target));
        }
    }
    return found;
}

std::string WrittenPDF::outline() const {
    std::string lines;
    const Json root = entry(catalog(), "/Outlines");
    if (root.is_object()) {
        addOutline(root.value("/First", Json()), 0, lines);
    }
    return lines;
}

void WrittenPDF::addOutline(const Json& first, std::size_t depth, std::string& lines) const {
    if (depth > deepestOutline) {
        throw std::runtime_error("the outline is too deep");
    }
    Json reference = first;
    while (!reference.is_null()) {
        const Json item = resolved(reference);
        lines += std::string(2 * depth, ' ') + text(entry(item, "/Title"));
        const Json target = entry(item, "/Dest");
        const Json actions = entry(item, "/A");
        if (!target.is_null()) {
            lines += " > " + destination(target);
        } else if (!actions.is_null()) {
            lines += " > " + action(actions);
        }
        const Json children = item.value("/First", Json());
        if (!children.is_null()) {
            lines += item.value("/Count", 0) > 0 ? " open" : " closed";
        }
        lines += "\n";
        if (!children.is_null()) {
            addOutline(children, depth + 1, lines);
        }
        reference = item.value("/Next", Json());
    }
}

std::map<std::string, std::string> WrittenPDF::fields() const {
    std::map<std::string, std::string> pages; // " 1 3", by annotation
    for (std::size_t page = 1; page <= m_pages.size(); ++page) {
        if (const Json list = entry(this->page(page), "/Annots"); list.is_array()) {
            for (const Json& annotation : list) {
                if (isReference(annotation)) {
                    pages[annotation.get<std::string>()] += " " + std::to_string(page);
                }
            }
        }
    }
    std::map<std::string, std::string> all;
    const Json list = entry(entry(catalog(), "/AcroForm"), "/Fields");
    if (list.is_array()) {
        for (const Json& field : list) {
            addField(field, "", Json::object(), pages, all);
        }
    }
    return all;
}

void WrittenPDF::addField(const Json& reference, const std::string& prefix, const Json& inherited,
                          const std::map<std::string, std::string>& widgetPages,
                          std::map<std::string, std::string>& fields) const {
    const Json field = resolved(reference);
    if (!field.is_object()) {
        fields["broken"] += " " + reference.dump();
        return;
    }
    Json own = inherited;
    for (const char* key : {"/FT", "/V"}) {
        if (field.contains(key)) {
            own[key] = resolved(field[key]);
        }
    }
    std::string name = prefix;
    if (const Json part = entry(field, "/T"); part.is_string()) {
        name += (prefix.empty() ? "" : ".") + text(part);
    }
    std::vector<Json> widgets;
    bool hasFields = false;
    if (const Json kids = entry(field, "/Kids"); kids.is_array()) {
        for (const Json& kid : kids) {
            if (entry(kid, "/T").is_string() || !entry(kid, "/Kids").is_null()) {
                hasFields = true;
                addField(kid, name, own, widgetPages, fields);
            } else {
                widgets.push_back(kid);
            }
        }
    } else if (field.value("/Subtype", "") == "/Widget") {
        widgets.push_back(reference);
    }
    if (hasFields && widgets.empty()) {
        return;
    }
    const Json value = own.value("/V", Json());
    std::string line = own.value("/FT", "?");
    if (value.is_string()) {
        const auto raw = value.get<std::string>();
        line += raw.starts_with("/") ? " " + raw : " (" + text(value) + ")";
    } else if (!value.is_null()) {
        line += " (" + value.dump() + ")";
    }
    line += " on";
    for (const Json& widget : widgets) {
        const auto pages = widgetPages.find(widget.get<std::string>());
        line += pages == widgetPages.end() ? " 0" : pages->second;
    }
    std::string& known = fields[name];
    known += (known.empty() ? "" : " & ") + line;
}

std::vector<std::string> WrittenPDF::attachments() const {
    return names("/EmbeddedFiles");
}

std::vector<std::string> WrittenPDF::names(const std::string& tree) const {
    std::vector<std::string> keys;
    std::vector<Json> pending{entry(entry(catalog(), "/Names"), tree)};
    while (!pending.empty()) {
        const Json node = pending.back();
        pending.pop_back();
        if (const Json entries = entry(node, "/Names"); entries.is_array()) {
            for (std::size_t i = 0; i + 1 < entries.size(); i += 2) {
                keys.push_back(text(resolved(entries[i])));
            }
        }
        if (const Json kids = entry(node, "/Kids"); kids.is_array()) {
            for (auto kid = kids.rbegin(); kid != kids.rend(); ++kid) {
                pending.push_back(resolved(*kid));
            }
        }
    }
    return keys;
}

std::string WrittenPDF::text(const Json& string) const {
    if (!string.is_string()) {
        return {};
    }
    const auto raw = string.get<std::string>();
    return raw.starts_with("b:")   ? latin1(raw.substr(2))
           : raw.starts_with("u:") ? raw.substr(2)
                                   : raw;
}

} // namespace quillorn::tests
