#pragma once

#include <map>
#include <string>
#include <vector>

namespace quillbay::bench {

/// One measured quantity: the relay's figures and those of its peers from the same alternated runs.
struct Row {
    std::string name;
    std::string unit;
    /// By who: "relay", "haproxy", "direct", "bare". One value per run.
    std::map<std::string, std::vector<double>> values;
};

double median(std::vector<double> values);

/// Medians, spread (lowest to highest) and the ratio of the relay to each peer.
void printTable(const std::vector<Row>& rows);
void writeJSON(const std::vector<Row>& rows, const std::string& file);

}  // namespace quillbay::bench
