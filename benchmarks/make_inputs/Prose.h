#pragma once

#include "Random.h"

#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// Invented prose with the statistics that matter here: a vocabulary of a few thousand words, few
/// of them frequent and most of them rare, so that a page compresses about as well as written
/// English.
class Prose {
public:
    explicit Prose(Random& random);

    const std::string& word();

    /// A few words, the first with a capital: a heading.
    std::string title(int words);

private:
    Random& random_;
    std::vector<std::string> vocabulary_; ///< most frequent first
};

/// Width of the text in Times-Roman, in thousandths of the font size.
int timesWidth(std::string_view text);

/// The text operators of one column of justified lines, for a content stream between BT and ET:
/// each line is one TJ whose gaps carry the justification, as typesetters write it.
///
/// The font must be set to Times-Roman at fontSize and the text position be the first baseline's
/// start. Lengths in points.
std::string justifiedLines(Prose& prose, Random& random, int lines, int columnWidth, int fontSize,
                           int leading);

} // namespace bench
