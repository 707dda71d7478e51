#include "relay/Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace quillbay::bench {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void printTable(const std::vector<Row>& rows) {
    fmt::print("{:<34} {:<8} {:>10} {:>21}  {}\n", "what", "who", "median", "spread", "own / who");
    for (const Row& row : rows) {
        const auto own = row.values.find(row.own);
        for (const auto& [who, values] : row.values) {
            const auto [low, high] = std::minmax_element(values.begin(), values.end());
            const double middle = median(values);
            std::string ratio;
            if (own != row.values.end() && who != row.own && middle != 0) {
                ratio = fmt::format("{:.2f}", median(own->second) / middle);
            }
            fmt::print("{:<34} {:<8} {:>10.2f} {:>10.2f}–{:<10.2f}  {}\n", row.name + " [" + row.unit + "]",
                       who, middle, *low, *high, ratio);
        }
    }
}

void printVerdicts(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        if (!row.wanted) continue;
        const Wanted& wanted = *row.wanted;
        const double limit = wanted.bound * (wanted.peer.empty() ? 1 : median(row.values.at(wanted.peer)));
        const double own = median(row.values.at(row.own));
        const bool atMost = wanted.direction == Wanted::Direction::atMost;
        const bool met = atMost ? own <= limit : own >= limit;
        fmt::print("{:<12} {}: wanted {} {:g}{}, is {:.2f} {}\n", met ? "met" : "FALLS SHORT", row.name,
                   atMost ? "at most" : "at least", wanted.bound,
                   wanted.peer.empty() ? "" : fmt::format(" x {} ({:.2f})", wanted.peer, limit), own,
                   row.unit);
    }
}

void writeJSON(const std::vector<Row>& rows, const std::string& file) {
    auto list = nlohmann::json::array();
    for (const Row& row : rows) {
        nlohmann::json entry{{"name", row.name}, {"unit", row.unit}, {"values", row.values}};
        for (const auto& [who, values] : row.values)
            entry["median"][who] = median(values);
        list.push_back(std::move(entry));
    }
    std::ofstream out(file);
    out << list.dump(2) << '\n';
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

}  // namespace quillbay::bench
