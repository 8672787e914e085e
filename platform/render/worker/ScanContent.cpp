#include "platform/render/worker/ScanContent.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <poppler/Lexer.h>
#include <poppler/Object.h>
#include <poppler/PDFDoc.h>
#include <poppler/Page.h>
#include <poppler/Parser.h>
#include <string_view>
#include <vector>

namespace quillorn::render {

namespace {

constexpr int mostObjects = 200'000;
constexpr std::size_t mostOperands = 40;
constexpr std::size_t deepestState = 64;
constexpr int invisible = 3; ///< of the text rendering modes

template <std::size_t count>
bool isOneOf(std::string_view word, const std::array<std::string_view, count>& words) {
    return std::ranges::find(words, word) != words.end();
}

/// Follows the operators of a page.
class Reading {
public:
    /// False when the page is no scan.
    bool take(std::string_view word, const std::vector<Object>& operands) {
        constexpr std::array<std::string_view, 15> harmless = {"BT", "ET", "Tf",  "Td",  "TD",
                                                               "Tm", "T*", "Tc",  "Tw",  "Tz",
                                                               "TL", "Ts", "BMC", "EMC", "MP"};
        constexpr std::array<std::string_view, 4> shownText = {"Tj", "TJ", "'", "\""};
        if (isOneOf(word, harmless)) {
            return true;
        }
        if (word == "BDC") { // what a layer holds may be hidden
            return !operands.empty() && operands.front().isName() && !operands.front().isName("OC");
        }
        if (isOneOf(word, shownText)) {
            return m_state.textMode == invisible;
        }
        if (word == "Tr") {
            return takeTextMode(operands);
        }
        if (word == "q") {
            m_states.push_back(m_state);
            return m_states.size() <= deepestState;
        }
        if (word == "Q") {
            return restore();
        }
        if (word == "cm") {
            return transform(operands);
        }
        return word == "Do" && show(operands);
    }

    [[nodiscard]] const std::optional<ShownObject>& shown() const { return m_shown; }

private:
    struct State {
        Matrix matrix{1, 0, 0, 1, 0, 0};
        int textMode = 0;
    };

    bool takeTextMode(const std::vector<Object>& operands) {
        if (operands.size() != 1 || !operands.front().isInt()) {
            return false;
        }
        m_state.textMode = operands.front().getInt();
        return true;
    }

    bool restore() {
        if (!m_states.empty()) {
            m_state = m_states.back();
            m_states.pop_back();
        }
        return true;
    }

    bool transform(const std::vector<Object>& operands) {
        Matrix matrix{};
        if (operands.size() != matrix.size()) {
            return false;
        }
        for (std::size_t i = 0; i < matrix.size(); ++i) {
            if (!operands[i].isNum()) {
                return false;
            }
            matrix[i] = operands[i].getNum();
        }
        m_state.matrix = product(matrix, m_state.matrix);
        return true;
    }

    bool show(const std::vector<Object>& operands) {
        if (m_shown || operands.size() != 1 || !operands.front().isName()) {
            return false;
        }
        m_shown = ShownObject{operands.front().getName(), m_state.matrix};
        return true;
    }

    State m_state;
    std::vector<State> m_states;
    std::optional<ShownObject> m_shown;
};

} // namespace

Matrix product(const Matrix& inner, const Matrix& outer) {
    const auto [a, b, c, d, e, f] = inner;
    const auto [A, B, C, D, E, F] = outer;
    return {a * A + b * C, a * B + b * D,     c * A + d * C,
            c * B + d * D, e * A + f * C + E, e * B + f * D + F};
}

std::optional<ShownObject> onlyShownObject(PDFDoc& document, Page& page) {
    Object contents = page.getContents();
    if (!contents.isStream() && !contents.isArray()) {
        return std::nullopt;
    }
    Parser parser(document.getXRef(), &contents, false);
    Reading reading;
    std::vector<Object> operands;
    for (int count = 0; count < mostObjects; ++count) {
        Object object = parser.getObj();
        if (object.isEOF()) {
            return reading.shown();
        }
        if (object.isError() || operands.size() > mostOperands) {
            return std::nullopt;
        }
        if (!object.isCmd()) {
            operands.push_back(std::move(object));
            continue;
        }
        if (!reading.take(object.getCmd(), operands)) {
            return std::nullopt;
        }
        operands.clear();
    }
    return std::nullopt;
}

} // namespace quillorn::render
