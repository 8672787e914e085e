#pragma once

#include <cstdint>

namespace quillorn {

/// How many bytes streams may decode to that are read for the objects in them: object streams and
/// cross-reference streams. Some kilobytes of a hostile file can state gigabytes of them, and each
/// byte can become an object of a hundred and more.
///
/// One for a document, or for a job with several. Once spent it stays so: whoever asked for an
/// object that libqpdf then held for missing has to give up the whole document. Used by one thread.
class DecodingBudget {
public:
    explicit DecodingBudget(std::uint64_t bytes) : m_left(bytes) {}

    /// What files of so many bytes can need if they are honest. Those of real ones come to ten
    /// times the file at most, and to next to nothing where a small file is repetitive.
    [[nodiscard]] static DecodingBudget forFilesOf(std::uint64_t bytes);

    /// Throws std::runtime_error where the bytes are more than are left.
    void spend(std::uint64_t bytes);

    [[nodiscard]] std::uint64_t left() const { return m_left; }
    [[nodiscard]] bool isExceeded() const { return m_exceeded; }

private:
    std::uint64_t m_left;
    bool m_exceeded = false;
};

/// Charges what the calling thread decodes, while this lives, to a budget; the innermost counts.
/// Outside of any nothing is charged. The budget must live longer.
class DecodingScope {
public:
    explicit DecodingScope(DecodingBudget& budget);
    ~DecodingScope();
    DecodingScope(const DecodingScope&) = delete;
    DecodingScope& operator=(const DecodingScope&) = delete;

    /// The calling thread's, or null.
    [[nodiscard]] static DecodingBudget* current();

private:
    DecodingBudget* m_before;
};

} // namespace quillorn
