#include "suite/Report.h"

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

double percentile99(std::vector<double> values) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 99 / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

double boundOf(const Row& row) {
    const Wanted& wanted = row.wanted.value();
    if (wanted.peers.empty()) return wanted.bound;
    std::vector<double> medians;
    medians.reserve(wanted.peers.size());
    for (const std::string& peer : wanted.peers)
        medians.push_back(median(row.values.at(peer)));
    const auto [low, high] = std::minmax_element(medians.begin(), medians.end());
    return wanted.bound * (wanted.direction == Wanted::Direction::atMost ? *low : *high);
}

void printTable(const std::vector<Row>& rows) {
    fmt::print("{:<44} {:<11} {:>10} {:>21}  {}\n", "what", "who", "median", "spread", "own / who");
    for (const Row& row : rows) {
        const auto own = row.values.find(row.own);
        for (const auto& [who, values] : row.values) {
            const auto [low, high] = std::minmax_element(values.begin(), values.end());
            const double middle = median(values);
            std::string ratio;
            if (own != row.values.end() && who != row.own && middle != 0) {
                ratio = fmt::format("{:.2f}", median(own->second) / middle);
            }
            fmt::print("{:<44} {:<11} {:>10.2f} {:>10.2f}–{:<10.2f}  {}\n", row.name + " [" + row.unit + "]",
                       who, middle, *low, *high, ratio);
        }
    }
}

void printVerdicts(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        if (!row.wanted) continue;
        const Wanted& wanted = *row.wanted;
        const double bound = boundOf(row);
        const double own = median(row.values.at(row.own));
        const bool atMost = wanted.direction == Wanted::Direction::atMost;
        const bool met = atMost ? own <= bound : own >= bound;
        const std::string times =
            wanted.peers.empty() ? "" : fmt::format(" x {} ({:.2f})", fmt::join(wanted.peers, " or "), bound);
        fmt::print("{:<12} {}: wanted {} {:g}{}, is {:.2f} {}\n", met ? "met" : "FALLS SHORT", row.name,
                   atMost ? "at most" : "at least", wanted.bound, times, own, row.unit);
        if (!met && !row.limit.empty()) fmt::print("{:<12} the limit: {}\n", "", row.limit);
    }
}

void writeJSON(const std::vector<Row>& rows, const std::string& file) {
    auto list = nlohmann::json::array();
    for (const Row& row : rows) {
        nlohmann::json entry{
            {"name", row.name}, {"unit", row.unit}, {"own", row.own}, {"values", row.values}};
        if (!row.limit.empty()) entry["limit"] = row.limit;
        if (row.wanted) {
            entry["wanted"] = {
                {row.wanted->direction == Wanted::Direction::atMost ? "atMost" : "atLeast", boundOf(row)}};
        }
        for (const auto& [who, values] : row.values)
            entry["median"][who] = median(values);
        list.push_back(std::move(entry));
    }
    std::ofstream out(file);
    out << list.dump(2) << '\n';
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

}  // namespace quillbay::bench
