#include "tests/fakes/ScriptedAlerts.h"

#include <gtest/gtest.h>

namespace quillorn::tests {

ScriptedAlerts::~ScriptedAlerts() {
    for (const Expected& expected : m_expected) {
        ADD_FAILURE() << "nobody showed: " << expected.alert.message;
    }
    EXPECT_TRUE(m_openSheets.empty()) << "a sheet was never answered";
}

void ScriptedAlerts::expect(const std::string& title, const std::string& message) {
    expect(Alert{title, message, "OK", ""}, AlertAnswer::defaultButton);
}

void ScriptedAlerts::expect(const Alert& alert, AlertAnswer answer) {
    m_expected.push_back({alert, false, answer});
}

void ScriptedAlerts::expectSheet(const Alert& alert, std::optional<AlertAnswer> answer) {
    m_expected.push_back({alert, true, answer});
}

std::optional<ScriptedAlerts::Expected> ScriptedAlerts::next(const Alert& alert, bool isSheet) {
    if (m_expected.empty()) {
        ADD_FAILURE() << "unexpected alert: " << alert.title << ": " << alert.message;
        return std::nullopt;
    }
    Expected expected = m_expected.front();
    m_expected.pop_front();
    EXPECT_EQ(alert.title, expected.alert.title);
    EXPECT_EQ(alert.message, expected.alert.message);
    EXPECT_EQ(alert.defaultButton, expected.alert.defaultButton);
    EXPECT_EQ(alert.alternateButton, expected.alert.alternateButton);
    EXPECT_EQ(isSheet, expected.isSheet);
    return expected;
}

AlertAnswer ScriptedAlerts::runModal(const Alert& alert) {
    const auto expected = next(alert, false);
    return expected ? *expected->answer : AlertAnswer::alternateButton;
}

void ScriptedAlerts::beginSheet(const Alert& alert, std::function<void(AlertAnswer)> ended) {
    const auto expected = next(alert, true);
    if (expected && expected->answer) {
        ended(*expected->answer);
    } else if (expected) {
        m_openSheets.push_back(std::move(ended));
    }
}

void ScriptedAlerts::answerSheet(AlertAnswer answer) {
    ASSERT_FALSE(m_openSheets.empty()) << "no sheet is open";
    const auto ended = std::move(m_openSheets.front());
    m_openSheets.pop_front();
    ended(answer);
}

ScriptedFilePanels::~ScriptedFilePanels() {
    EXPECT_TRUE(m_script.empty()) << "a panel that was expected was never shown";
}

void ScriptedFilePanels::beginSheet(const OpenPanel& panel, OpenPanelEnded didEnd) {
    m_panels.push_back(panel);
    if (m_script.empty()) {
        ADD_FAILURE() << "unexpected panel in " << panel.folder;
        return;
    }
    const auto [code, choice] = std::move(m_script.front());
    m_script.pop_front();
    didEnd(code, choice);
}

} // namespace quillorn::tests
