#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

/// What one benchmark measured, by name, as it is handed to benchmarks/run.
class Figures {
public:
    void add(std::string name, double value) { m_values.emplace_back(std::move(name), value); }
    /// NAME_median, NAME_worst, and NAME_most, which one in twenty is above.
    void addAll(const std::string& name, std::vector<double> values);
    void addText(std::string name, std::string text) {
        m_texts.emplace_back(std::move(name), std::move(text));
    }
    [[nodiscard]] std::string json() const;

private:
    std::vector<std::pair<std::string, double>> m_values;
    std::vector<std::pair<std::string, std::string>> m_texts;
};

} // namespace bench
