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
    /// The bound multiplies the best median among these peers; without any, it stands by itself.
    std::vector<std::string> peers = {};
};

/// One measured quantity: this system's own figures and those of its peers from the same alternated runs.
struct Row {
    std::string name;
    std::string unit;
    /// By who: `own`, "haproxy", "nginx", "socat", "nmap", "direct", "bare". One value per run.
    std::map<std::string, std::vector<double>> values;
    std::optional<Wanted> wanted = std::nullopt;
    /// Which of them is this system.
    std::string own = "relay";
    /// What nothing on this machine could beat, in a few words: "two copies over loopback, see direct".
    std::string limit = {};
};

double median(std::vector<double> values);
/// The value below which nine hundred and ninety of a thousand lie. `values` must not be empty.
double percentile99(std::vector<double> values);

/// The bound as a figure: multiplied by the best peer's median where there are peers. Throws when a peer was
/// not measured.
double boundOf(const Row& row);

/// Medians, spread (lowest to highest) and the ratio of this system to each peer.
void printTable(const std::vector<Row>& rows);

/// One line for each row with a wanted figure: whether this system's median has it.
void printVerdicts(const std::vector<Row>& rows);
/// Throws std::runtime_error when the file cannot be written.
void writeJSON(const std::vector<Row>& rows, const std::string& file);

}  // namespace quillbay::bench
