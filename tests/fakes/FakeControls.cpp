#include "tests/fakes/FakeControls.h"

#include <gtest/gtest.h>

namespace quillorn::tests {

void FakeSheet::runModal() {
    ++m_runs;
    m_isShown = true;
    m_isModal = true;
    if (m_user) {
        m_user();
    } else {
        ADD_FAILURE() << "a sheet was shown that the test did not expect";
    }
    m_isModal = false;
    m_isShown = false;
}

void FakeSheet::stopModal() {
    ++m_stops;
    m_idleStops += m_isModal ? 0 : 1;
    m_isModal = false;
}

} // namespace quillorn::tests
