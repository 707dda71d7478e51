#pragma once

#include <vector>

#include "suite/Measurements.h"

namespace quillbay::bench {

/// A scan of closed ports of this computer, beside nmap and the bare system calls.
std::vector<Measurement> scanMeasurements();

}  // namespace quillbay::bench
