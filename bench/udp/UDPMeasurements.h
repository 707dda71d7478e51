#pragma once

#include <vector>

#include "suite/Measurements.h"

namespace quillbay::bench {

/// Datagrams there and back over one flow and over many, and the first datagrams of clients that are new.
std::vector<Measurement> udpMeasurements();

}  // namespace quillbay::bench
