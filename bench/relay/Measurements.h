#pragma once

#include <functional>
#include <string>
#include <vector>

#include "relay/Report.h"

namespace quillbay::bench {

/// A group of rows that are measured together.
struct Measurement {
    std::string name;
    std::function<std::vector<Row>(int runs)> run;
};

const std::vector<Measurement>& allMeasurements();

}  // namespace quillbay::bench
