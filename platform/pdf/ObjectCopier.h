#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillorn {

/// Copies objects of one source document into a destination document, each once.
///
/// Does the work of libqpdf's own foreign copy without its recursion, which a chain of some ten
/// thousand references in a hostile file drives through the end of the stack: here references
/// wait in a list. References to pages, page tree nodes and whatever else `redirect` names are
/// answered with what the caller decided (a page of the output, or null), so a page never drags
/// its whole document along.
///
/// Stream data is not read: the destination reads it from the source's file when it is written,
/// so the file must stay open but the source document may go. Belongs to one thread.
class ObjectCopier {
public:
    explicit ObjectCopier(QPDF& destination) : m_destination(destination) {}

    ObjectCopier(const ObjectCopier&) = delete;
    ObjectCopier& operator=(const ObjectCopier&) = delete;

    /// From now on references to `from` (in the source) become `to` (in the destination, or null).
    void redirect(QPDFObjGen from, QPDFObjectHandle to);

    /// `value` for use in the destination, with everything that it refers to.
    [[nodiscard]] QPDFObjectHandle copy(QPDFObjectHandle value);

    /// The entries of a dictionary, each copied.
    [[nodiscard]] std::map<std::string, QPDFObjectHandle>
    copyEntries(std::map<std::string, QPDFObjectHandle> entries);

    [[nodiscard]] bool hasCopied(QPDFObjGen id) const { return m_copies.contains(id); }

    /// Bytes of the streams copied so far that carry no compression at all.
    [[nodiscard]] std::uint64_t uncompressedBytes() const { return m_uncompressedBytes; }

private:
    /// A copy that is referred to already and still lacks its content.
    struct Pending {
        QPDFObjectHandle copy;
        QPDFObjectHandle content; ///< in the source: a dictionary (a stream's own too) or an array
    };
    struct HashObjGen {
        std::size_t operator()(const QPDFObjGen& id) const noexcept {
            return (static_cast<std::size_t>(id.getObj()) << 16U) ^
                   static_cast<std::size_t>(id.getGen());
        }
    };

    QPDFObjectHandle translate(QPDFObjectHandle value);
    QPDFObjectHandle translateReference(QPDFObjectHandle reference);
    void translateEntries(std::map<std::string, QPDFObjectHandle>& entries);
    QPDFObjectHandle copyStream(QPDFObjectHandle stream);
    QPDFObjectHandle reserve(QPDFObjectHandle content);
    void finish(Pending pending);
    void finishPending();

    QPDF& m_destination;
    std::unordered_map<QPDFObjGen, QPDFObjectHandle, HashObjGen> m_copies;
    std::vector<Pending> m_pending;
    std::uint64_t m_uncompressedBytes = 0;
};

} // namespace quillorn
