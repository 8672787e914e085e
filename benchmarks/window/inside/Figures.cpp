#include "benchmarks/window/inside/Figures.h"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace bench {

void Figures::addAll(const std::string& name, std::vector<double> values) {
    if (values.empty()) {
        throw std::logic_error("nothing was measured for " + name);
    }
    std::sort(values.begin(), values.end());
    constexpr std::size_t oneIn = 20;
    add(name + "_median", values[values.size() / 2]);
    add(name + "_most", values[values.size() - 1 - values.size() / oneIn]);
    add(name + "_worst", values.back());
}

std::string Figures::json() const {
    nlohmann::json object = nlohmann::json::object();
    for (const auto& [name, value] : m_values) {
        object[name] = value;
    }
    for (const auto& [name, text] : m_texts) {
        object[name] = text;
    }
    return object.dump();
}

} // namespace bench
