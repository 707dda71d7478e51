#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillbay::bench {

/// What a figure should be.
struct Wanted {
    enum class Direction { atMost, atLeast };
    Direction direction = Direction::atMost;
    double bound = 0;
    /// The peer whose median the bound multiplies; empty for a bound that stands by itself.
    std::string peer;
};

/// One measured quantity: this system's own figures and those of its peers from the same alternated runs.
struct Row {
    std::string name;
    std::string unit;
    /// By who: `own`, "haproxy", "direct", "bare". One value per run.
    std::map<std::string, std::vector<double>> values;
    std::optional<Wanted> wanted = std::nullopt;
    /// Which of them is this system.
    std::string own = "relay";
};

double median(std::vector<double> values);

/// Medians, spread (lowest to highest) and the ratio of this system to each peer.
void printTable(const std::vector<Row>& rows);

/// One line for each row with a wanted figure: whether this system's median has it.
void printVerdicts(const std::vector<Row>& rows);
void writeJSON(const std::vector<Row>& rows, const std::string& file);

}  // namespace quillbay::bench
