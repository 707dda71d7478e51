#pragma once

#include <avahi-client/lookup.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "dns-sd/AvahiSession.h"
#include "dns-sd/CommandLine.h"

namespace quillbay::dnssd {

/// Prints the records of every instance of a service type on standard output, whenever one appears or
/// changes.
///
/// Each instance is browsed for on its own: its SRV and TXT records are read as they were on the wire,
/// because what the daemon's resolver hands on has its strings in another order. An instance is printed once
/// both are known, and again whenever the newest of either differs from what was printed or comes back after
/// it had gone; the number of interfaces that show it makes no difference.
class ZoneDump {
 public:
    explicit ZoneDump(DumpCommand command);
    ~ZoneDump();
    ZoneDump(const ZoneDump&) = delete;
    ZoneDump& operator=(const ZoneDump&) = delete;

    /// Prints until nobody can read it any more, and returns the exit status then. Throws AvahiError.
    int run();

    /// How many instances are followed at a time: the daemon allows a client 1,024 objects, and each takes
    /// two.
    static constexpr std::size_t maximumInstances = 400;

 private:
    struct Instance;
    /// Interface and protocol that show an instance.
    using Place = std::pair<AvahiIfIndex, AvahiProtocol>;

    void browse(AvahiClient* client);
    void handleInstance(AvahiBrowserEvent event, Place place, const std::string& name);
    void add(Place place, const std::string& name);
    void remove(Place place, const std::string& name);
    void print(Instance& instance);
    void forget();

    DumpCommand command_;
    std::map<std::string, std::unique_ptr<Instance>> instances_;
    AvahiServiceBrowser* browser_ = nullptr;
    bool overflowReported_ = false;
    AvahiSession session_;
};

}  // namespace quillbay::dnssd
