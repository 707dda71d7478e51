#include "suite/Measurements.h"

#include "discovery/ZoneDump.h"
#include "log/Log.h"
#include "relay/RelayMeasurements.h"
#include "scan/Scan.h"
#include "udp/UDPMeasurements.h"

namespace quillbay::bench {

namespace {

std::vector<Measurement> collect() {
    std::vector<Measurement> all;
    for (auto part : {
             rangeMeasurements(),
             bulkMeasurements(),
             roundTripMeasurements(),
             connectMeasurements(),
             idleConnectionMeasurements(),
             stalledReaderMeasurements(),
             udpMeasurements(),
             scanMeasurements(),
             logMeasurements(),
             zoneDumpMeasurements(),
         }) {
        for (Measurement& each : part)
            all.push_back(std::move(each));
    }
    return all;
}

}  // namespace

const std::vector<Measurement>& allMeasurements() {
    static const std::vector<Measurement> all = collect();
    return all;
}

}  // namespace quillbay::bench
