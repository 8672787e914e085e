#include "tests/corpus/Corpus.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <string_view>
#include <utility>

namespace quillorn::corpus {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view jsonMark = "json:";
constexpr std::string_view passwordSeparator = " ; ";

std::vector<std::string> split(const std::string& text, std::string_view separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end = text.find(separator); end != std::string::npos;
         end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::vector<std::vector<std::string>> readTable(const fs::path& file) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        rows.push_back(split(line, "\t"));
    }
    return rows;
}

bool isPDFKind(const std::string& name) {
    return name.starts_with("pdf");
}

} // namespace

std::ostream& operator<<(std::ostream& out, const Document& document) {
    return out << document.name;
}

std::string testName(const Document& document) {
    std::string name = document.file.stem().string();
    for (char& ch : name) {
        if (std::isalnum(static_cast<unsigned char>(ch)) == 0) {
            ch = '_';
        }
    }
    return name;
}

std::vector<KnownPassword> readPasswords(const std::string& column) {
    using Kind = KnownPassword::Kind;
    std::vector<KnownPassword> passwords;
    for (const std::string& part : split(column, passwordSeparator)) {
        const std::size_t colon = part.find(": ");
        if (colon == std::string::npos) {
            continue;
        }
        const std::string who = part.substr(0, colon);
        std::string text = part.substr(colon + 2);
        if (text.starts_with("(empty")) {
            continue;
        }
        if (text.starts_with(jsonMark)) {
            text = nlohmann::json::parse(text.substr(jsonMark.size())).get<std::string>();
        }
        const Kind kind = who == "user" ? Kind::user : who == "owner" ? Kind::owner : Kind::either;
        passwords.push_back({kind, std::move(text)});
    }
    return passwords;
}

Corpus::Corpus(fs::path folder, const fs::path& missingList)
    : m_folder(std::move(folder)), m_isSelection(!missingList.empty()) {
    readManifest();
    if (m_isSelection) {
        const auto rows = readTable(missingList);
        for (std::size_t row = 1; row < rows.size(); ++row) {
            m_notRun.push_back(rows[row].front());
        }
        if (m_notRun.empty()) {
            m_problem = missingList.string() + " cannot be read";
        }
    }
}

void Corpus::readManifest() {
    const auto rows = readTable(m_folder / "MANIFEST.tsv");
    if (rows.empty() || rows.front().front() != "path") {
        m_problem = (m_folder / "MANIFEST.tsv").string() + " cannot be read";
        return;
    }
    const auto passwordColumn = static_cast<std::size_t>(
        std::ranges::find(rows.front(), "password") - rows.front().begin());
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const std::vector<std::string>& cells = rows[row];
        Document document;
        document.name = cells.front();
        document.file = m_folder / document.name;
        document.kind = document.name.substr(0, document.name.find('/'));
        if (passwordColumn < cells.size()) {
            document.passwords = readPasswords(cells[passwordColumn]);
        }
        m_documents.push_back(std::move(document));
    }
}

const Corpus& Corpus::get() {
    static const Corpus corpus = [] {
        const char* const folder = std::getenv("QUILLORN_CORPUS");
        if (folder != nullptr && *folder != '\0') {
            return Corpus(folder, {});
        }
        const fs::path selection(QUILLORN_CORPUS_SELECTION);
        return Corpus(selection, selection / "NOT-INCLUDED.tsv");
    }();
    return corpus;
}

std::vector<Document> Corpus::documents(const std::string& kind) const {
    std::vector<Document> found;
    std::ranges::copy_if(m_documents, std::back_inserter(found),
                         [&](const Document& document) { return document.kind == kind; });
    return found;
}

std::string Corpus::summary() const {
    const auto pdfs = std::ranges::count_if(
        m_documents, [](const Document& document) { return isPDFKind(document.kind); });
    std::ostringstream text;
    if (m_isSelection) {
        text << "QUILLORN_CORPUS is not set: " << pdfs << " PDF files of tests/data/corpus run, "
             << m_notRun.size() << " files of the full corpus do NOT run";
    } else {
        text << pdfs << " PDF files of the corpus in " << m_folder.string() << " run";
    }
    return text.str();
}

} // namespace quillorn::corpus
