#include "Prose.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>

namespace bench {

namespace {

constexpr int vocabularySize = 3000;
constexpr int spaceWidth = 250;

// Advance widths of a..z in Times-Roman (Adobe's font metrics for the standard fonts).
constexpr std::array<int, 26> lowerCaseWidths = {444, 500, 444, 500, 444, 333, 500, 500, 278,
                                                 278, 500, 278, 778, 500, 500, 500, 500, 333,
                                                 389, 278, 500, 500, 722, 500, 500, 444};
constexpr int capitalWidth = 667;
constexpr int digitWidth = 500;

constexpr std::array<std::string_view, 40> syllables = {
    "a",   "an",  "ar", "be", "con", "da", "de", "el",  "en",  "er",  "es", "for", "ga", "in",
    "ing", "is",  "ka", "la", "le",  "li", "lo", "ma",  "men", "mi",  "na", "no",  "o",  "on",
    "or",  "per", "ra", "re", "ri",  "ro", "se", "sta", "ta",  "ter", "ti", "ve"};

} // namespace

Prose::Prose(Random& random) : random_(random) {
    vocabulary_.reserve(vocabularySize);
    for (int rank = 0; rank < vocabularySize; ++rank) {
        // Frequent words are short, as in any language.
        const int longest = rank < 60 ? 1 : (rank < 600 ? 3 : 4);
        const int count = random_.between(rank < 60 ? 1 : 2, longest);
        std::string word;
        for (int i = 0; i < count; ++i) {
            word += syllables.at(
                static_cast<std::size_t>(random_.below(static_cast<int>(syllables.size()))));
        }
        vocabulary_.push_back(word);
    }
}

const std::string& Prose::word() {
    // Zipf's law: the rank is spread evenly on a logarithmic scale.
    const double share = static_cast<double>(random_.below(1 << 20)) / (1 << 20);
    const auto rank = static_cast<std::size_t>(std::pow(vocabularySize, share)) - 1;
    return vocabulary_[std::min(rank, vocabulary_.size() - 1)];
}

std::string Prose::title(int words) {
    std::string text;
    for (int i = 0; i < words; ++i) {
        text += (i == 0 ? "" : " ") + word();
    }
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

int timesWidth(std::string_view text) {
    int width = 0;
    for (const char c : text) {
        if (c >= 'a' && c <= 'z') {
            width += lowerCaseWidths.at(static_cast<std::size_t>(c - 'a'));
        } else if (c >= 'A' && c <= 'Z') {
            width += capitalWidth;
        } else if (c >= '0' && c <= '9') {
            width += digitWidth;
        } else {
            width += spaceWidth;
        }
    }
    return width;
}

std::string justifiedLines(Prose& prose, Random& random, int lines, int columnWidth, int fontSize,
                           int leading) {
    std::string operators;
    int untilFullStop = random.between(6, 18);
    bool capital = true;
    const int available = columnWidth * 1000 / fontSize;
    for (int line = 0; line < lines; ++line) {
        std::vector<std::string> words;
        int width = 0;
        for (;;) {
            std::string word = prose.word();
            if (capital) {
                word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
                capital = false;
            }
            if (--untilFullStop == 0) {
                word += '.';
                untilFullStop = random.between(6, 18);
                capital = true;
            }
            const int wordWidth = timesWidth(word);
            const int gaps = static_cast<int>(words.size()) * spaceWidth;
            if (!words.empty() && width + gaps + wordWidth > available) {
                break;
            }
            width += wordWidth;
            words.push_back(word);
        }
        const bool paragraphEnds = random.below(7) == 0;
        const int gapCount = std::max(1, static_cast<int>(words.size()) - 1);
        const int gap = paragraphEnds ? spaceWidth : (available - width) / gapCount;
        operators += '[';
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (i != 0) {
                operators += std::to_string(-gap);
            }
            operators += '(' + words[i] + ')';
        }
        operators += "]TJ 0 " + std::to_string(-leading) + " Td\n";
    }
    return operators;
}

} // namespace bench
