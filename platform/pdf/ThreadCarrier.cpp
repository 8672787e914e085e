#include "platform/pdf/ThreadCarrier.h"

#include <cstddef>
#include <set>

namespace quillorn {

namespace {

constexpr std::size_t threadLimit = 10'000;
constexpr std::size_t beadLimit = 100'000; ///< of all threads together

/// The beads of a thread whose pages stay, in order; the chain of a damaged file may not close,
/// or lead into another thread. `seen` are those of the threads before.
std::vector<QPDFObjectHandle> keptBeads(const CarryContext& context, QPDFObjectHandle first,
                                        std::set<QPDFObjGen>& seen) {
    std::vector<QPDFObjectHandle> kept;
    QPDFObjectHandle bead = first;
    while (bead.isDictionary() && bead.isIndirect() && seen.size() < beadLimit &&
           seen.insert(bead.getObjGen()).second) {
        const auto page = context.pages.indexOf(bead.getKey("/P"));
        if (page && context.pages.isKept(*page)) {
            kept.push_back(bead);
        }
        bead = bead.getKey("/N");
    }
    if (seen.size() == beadLimit) {
        context.notes.add(PDFCarryNote::Kind::structureLimited, context.file, "article threads");
    }
    return kept;
}

void chain(QPDFObjectHandle thread, std::vector<QPDFObjectHandle>& beads) {
    for (std::size_t i = 0; i < beads.size(); ++i) {
        const std::size_t next = (i + 1) % beads.size();
        beads[i].replaceKey("/N", beads[next]);
        beads[next].replaceKey("/V", beads[i]);
        beads[i].removeKey("/T");
    }
    beads.front().replaceKey("/T", thread);
    thread.replaceKey("/F", beads.front());
}

} // namespace

void ThreadCarrier::prepare(const CarryContext& context) {
    m_current.clear();
    QPDFObjectHandle threads = context.source.getRoot().getKey("/Threads");
    std::set<QPDFObjGen> living;
    if (threads.isArray()) {
        std::set<QPDFObjGen> seen;
        for (QPDFObjectHandle& thread : threads.getArrayAsVector()) {
            if (!thread.isDictionary() || !thread.isIndirect() || m_current.size() >= threadLimit) {
                continue;
            }
            auto beads = keptBeads(context, thread.getKey("/F"), seen);
            if (!beads.empty()) {
                chain(thread, beads);
                m_current.push_back(thread);
                for (const QPDFObjectHandle& bead : beads) {
                    living.insert(bead.getObjGen());
                }
            }
        }
    }
    // Beads of no thread would hold on to one another across pages that stay behind.
    std::set<QPDFObjGen> lists; // which pages of a damaged file share
    for (const std::size_t index : context.pages.kept()) {
        QPDFObjectHandle page = context.pages.sourcePage(index);
        QPDFObjectHandle beads = page.getKeyIfDict("/B");
        if (!beads.isArray()) {
            continue;
        }
        if (!beads.isIndirect() || lists.insert(beads.getObjGen()).second) {
            std::vector<QPDFObjectHandle> staying;
            for (const QPDFObjectHandle& bead : beads.getArrayAsVector()) {
                if (living.contains(bead.getObjGen())) {
                    staying.push_back(bead);
                }
            }
            beads.setArrayFromVector(staying);
        }
        if (beads.getArrayNItems() == 0) {
            page.removeKey("/B");
        }
    }
}

void ThreadCarrier::collect(const CarryContext& context) {
    for (const QPDFObjectHandle& thread : m_current) {
        m_threads.push_back(context.carried(thread));
    }
}

QPDFObjectHandle ThreadCarrier::finish() const {
    return m_threads.empty() ? QPDFObjectHandle::newNull() : QPDFObjectHandle::newArray(m_threads);
}

} // namespace quillorn
