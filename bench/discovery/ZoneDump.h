#pragma once

#include <vector>

#include "suite/Measurements.h"

namespace quillbay::bench {

/// How many lines of a zone dump are read in a second, from bytes to services, beside a bare loop that only
/// finds their line feeds.
std::vector<Measurement> zoneDumpMeasurements();

}  // namespace quillbay::bench
