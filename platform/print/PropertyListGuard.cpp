#include "platform/print/PropertyListGuard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillorn {

namespace {

using Number = std::uint64_t;

constexpr std::string_view binaryStart = "bplist00";
constexpr std::size_t trailerSize = 32;

/// So many containers in an XML list are read; nested in each other they fit on any stack.
constexpr std::size_t mostContainers = 20'000;
constexpr Number mostLevels = 200;
constexpr Number mostObjects = 200'000; ///< with every reference counted

constexpr std::string_view tooDeep = "it is nested too deeply";
constexpr std::string_view tooMuch = "it would unfold to far more than it is";
constexpr std::string_view damaged = "its table of objects is damaged";

/// Numbers that end where there is no reasonable use for more.
Number limitedSum(Number a, Number b) {
    constexpr Number limit = Number{1} << 48U;
    return a > limit || b > limit ? limit : std::min(a + b, limit);
}

/// What an object stands for when each reference to another is followed.
struct Weight {
    Number objects = 1;
    Number bytes = 0;
    Number levels = 1;
};

/// Weighs the objects of a binary list, each once.
class BinaryList {
public:
    explicit BinaryList(std::string_view bytes) : m_bytes(bytes) {}

    std::optional<std::string> danger() {
        if (!readTrailer()) {
            return std::string(damaged);
        }
        const auto weight = weigh();
        if (!weight) {
            return std::string(m_trouble);
        }
        const bool unfolds = weight->objects > mostObjects || weight->bytes > m_bytes.size() * 2;
        return weight->levels > mostLevels ? std::optional(std::string(tooDeep))
               : unfolds                   ? std::optional(std::string(tooMuch))
                                           : std::nullopt;
    }

private:
    struct Object {
        std::vector<Number> references;
        Number ownBytes = 0;
    };

    [[nodiscard]] std::optional<Number> number(Number offset, Number size) const {
        if (size == 0 || size > 8 || offset > m_bytes.size() || m_bytes.size() - offset < size) {
            return std::nullopt;
        }
        Number value = 0;
        for (const char ch : m_bytes.substr(offset, size)) {
            value = value << 8U | static_cast<unsigned char>(ch);
        }
        return value;
    }

    bool readTrailer() {
        if (m_bytes.size() < binaryStart.size() + trailerSize) {
            return false;
        }
        const Number trailer = m_bytes.size() - trailerSize;
        m_offsetSize = *number(trailer + 6, 1);
        m_referenceSize = *number(trailer + 7, 1);
        m_count = *number(trailer + 8, 8);
        m_root = *number(trailer + 16, 8);
        m_table = *number(trailer + 24, 8);
        return m_offsetSize >= 1 && m_offsetSize <= 8 && m_referenceSize >= 1 &&
               m_referenceSize <= 8 && m_table < trailer && m_root < m_count &&
               m_count <= (trailer - m_table) / m_offsetSize;
    }

    /// Nothing when it lies outside the file.
    [[nodiscard]] std::optional<Object> object(Number index) const {
        const auto offset = number(m_table + index * m_offsetSize, m_offsetSize);
        const auto marker = offset ? number(*offset, 1) : std::nullopt;
        if (!marker) {
            return std::nullopt;
        }
        const Number type = *marker >> 4U;
        Number count = *marker & 15U;
        Number start = *offset + 1;
        const bool isLong = count == 15 && type >= 4;
        if (isLong) {
            const auto sizeMarker = number(start, 1);
            const Number size = sizeMarker ? Number{1} << (*sizeMarker & 15U) : 0;
            const auto stated = sizeMarker ? number(start + 1, size) : std::nullopt;
            if (!stated) {
                return std::nullopt;
            }
            count = *stated;
            start += 1 + size;
        }
        constexpr Number data = 4;
        constexpr Number wideText = 6;
        constexpr Number array = 10;
        constexpr Number set = 12;
        constexpr Number dictionary = 13;
        if (count > m_bytes.size()) {
            return std::nullopt;
        }
        Object result;
        if (type >= data && type <= wideText + 1) {
            result.ownBytes = type == wideText ? count * 2 : count;
        } else if (type >= array && type <= set) {
            return withReferences(start, count);
        } else if (type == dictionary) {
            return withReferences(start, count * 2);
        }
        return result;
    }

    [[nodiscard]] std::optional<Object> withReferences(Number start, Number count) const {
        Object result;
        result.references.reserve(count);
        for (Number i = 0; i < count; ++i) {
            const auto reference = number(start + i * m_referenceSize, m_referenceSize);
            if (!reference || *reference >= m_count) {
                return std::nullopt;
            }
            result.references.push_back(*reference);
        }
        return result;
    }

    /// Depth first without recursion; children are weighed before their parents.
    std::optional<Weight> weigh() {
        struct Visit {
            Number index;
            Object object;
            std::size_t next = 0;
        };
        enum class State : std::uint8_t { unknown, open, done };
        std::vector<State> states(m_count, State::unknown);
        std::vector<Weight> weights(m_count);
        std::vector<Visit> way;
        const auto enter = [&](Number index) {
            auto found = object(index);
            if (found) {
                states[index] = State::open;
                way.push_back(Visit{index, std::move(*found)});
            }
            return found.has_value();
        };
        bool fine = enter(m_root);
        while (fine && !way.empty()) {
            Visit& visit = way.back();
            if (visit.next < visit.object.references.size()) {
                const Number child = visit.object.references[visit.next++];
                if (states[child] == State::open || way.size() > mostLevels) {
                    m_trouble = tooDeep; // a circle has no end
                    return std::nullopt;
                }
                fine = states[child] == State::done || enter(child);
                continue;
            }
            Weight& weight = weights[visit.index];
            weight.bytes = visit.object.ownBytes;
            for (const Number child : visit.object.references) {
                weight.objects = limitedSum(weight.objects, weights[child].objects);
                weight.bytes = limitedSum(weight.bytes, weights[child].bytes);
                weight.levels = std::max(weight.levels, weights[child].levels + 1);
            }
            states[visit.index] = State::done;
            way.pop_back();
        }
        return fine ? std::optional(weights[m_root]) : std::nullopt;
    }

    std::string_view m_bytes;
    std::string_view m_trouble = damaged;
    Number m_offsetSize = 0;
    Number m_referenceSize = 0;
    Number m_count = 0;
    Number m_root = 0;
    Number m_table = 0;
};

/// Counts what opens a container, in comments too: more than needed, and not to be deceived.
std::size_t containersIn(std::string_view xml) {
    std::size_t count = 0;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at + 1, 5);
        count += tag.starts_with("array") || tag.starts_with("dict") ? 1U : 0U;
    }
    return count;
}

} // namespace

bool isBinaryPropertyList(std::string_view bytes) {
    return bytes.starts_with("bplist");
}

std::optional<std::string> dangerOfPropertyList(std::string_view bytes) {
    if (isBinaryPropertyList(bytes)) {
        return BinaryList(bytes).danger();
    }
    return containersIn(bytes) > mostContainers ? std::optional(std::string(tooDeep))
                                                : std::nullopt;
}

} // namespace quillorn
