#pragma once

#include <functional>
#include <string>
#include <vector>

#include "suite/Report.h"

namespace quillbay::bench {

/// A group of rows that are measured together and can be asked for alone.
struct Measurement {
    std::string name;
    /// Alternates this system and its peers within each of the runs. Throws std::runtime_error when something
    /// cannot be measured or a payload is wrong.
    std::function<std::vector<Row>(int runs)> run;
};

/// In the order of the table. Each folder's are declared in its own header.
const std::vector<Measurement>& allMeasurements();

}  // namespace quillbay::bench
