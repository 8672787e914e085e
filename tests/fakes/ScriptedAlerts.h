#pragma once

#include "platform/ui/Alerts.h"
#include "platform/ui/FilePanels.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// Alerts that a test expects, in this order. Any other, and any that does not come, fails it.
class ScriptedAlerts final : public Alerts {
public:
    ScriptedAlerts() = default;
    ~ScriptedAlerts() override;
    ScriptedAlerts(const ScriptedAlerts&) = delete;
    ScriptedAlerts& operator=(const ScriptedAlerts&) = delete;

    /// One with a single "OK" button.
    void expect(const std::string& title, const std::string& message);
    void expect(const Alert& alert, AlertAnswer answer);
    /// A sheet; without an answer it stays open until `answerSheet`.
    void expectSheet(const Alert& alert, std::optional<AlertAnswer> answer);
    void answerSheet(AlertAnswer answer); ///< the oldest that is open
    /// Whether all that was expected has come.
    [[nodiscard]] bool isDone() const { return m_expected.empty(); }

    AlertAnswer runModal(const Alert& alert) override;
    void beginSheet(const Alert& alert, std::function<void(AlertAnswer)> ended) override;

private:
    struct Expected {
        Alert alert;
        bool isSheet = false;
        std::optional<AlertAnswer> answer;
    };
    std::optional<Expected> next(const Alert& alert, bool isSheet);

    std::deque<Expected> m_expected;
    std::deque<std::function<void(AlertAnswer)>> m_openSheets;
};

/// Panels that a test expects; as above.
class ScriptedFilePanels final : public FilePanels {
public:
    ScriptedFilePanels() = default;
    ~ScriptedFilePanels() override;
    ScriptedFilePanels(const ScriptedFilePanels&) = delete;
    ScriptedFilePanels& operator=(const ScriptedFilePanels&) = delete;

    void choose(OpenPanelChoice choice) {
        m_script.emplace_back(PanelReturn::ok, std::move(choice));
    }
    void cancel() { m_script.emplace_back(PanelReturn::cancel, OpenPanelChoice()); }

    void beginSheet(const OpenPanel& panel, OpenPanelEnded didEnd) override;

    std::vector<OpenPanel> m_panels; ///< as they were shown

private:
    std::deque<std::pair<PanelReturn, OpenPanelChoice>> m_script;
};

} // namespace quillorn::tests
