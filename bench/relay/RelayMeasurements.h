#pragma once

#include <vector>

#include "suite/Measurements.h"

namespace quillbay::bench {

/// Opening, stopping and moving every port of the tunnel range, and what it costs while nothing happens.
std::vector<Measurement> rangeMeasurements();
/// Known bytes through one and several TCP connections at once.
std::vector<Measurement> bulkMeasurements();
/// A small message and its echo over TCP.
std::vector<Measurement> roundTripMeasurements();
/// Short connections, on one port and on all.
std::vector<Measurement> connectMeasurements();
/// What connections cost on which nothing happens.
std::vector<Measurement> idleConnectionMeasurements();
/// A receiver that takes nothing, beside others.
std::vector<Measurement> stalledReaderMeasurements();

}  // namespace quillbay::bench
