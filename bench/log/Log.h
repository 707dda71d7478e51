#pragma once

#include <vector>

#include "suite/Measurements.h"

namespace quillbay::bench {

/// The lines that are followed in the system log, and those that are written to the file of diagnostics.
std::vector<Measurement> logMeasurements();

}  // namespace quillbay::bench
