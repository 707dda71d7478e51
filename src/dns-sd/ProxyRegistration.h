#pragma once

#include <avahi-client/publish.h>

#include "dns-sd/AvahiSession.h"
#include "dns-sd/CommandLine.h"
#include "dns-sd/EndingSignals.h"

namespace quillbay::dnssd {

/// Registers a service and the address of its host on behalf of that host, on one interface and IPv4 only.
///
///     connecting ── daemon runs ──> probing ── nobody objects ──> registered ── SIGTERM, SIGINT ──>
///     withdrawn, status 0
///         ^                            │                               │
///         └──── daemon is restarted ───┴──────────────────────────────┤
///                                                                      └── host is back ──> withdrawn,
///                                                                      status 1
///
/// A name in use is never changed for another one: whoever holds it is the host itself.
class ProxyRegistration {
 public:
    /// `interfaceIndex`: that of the command's interface.
    ProxyRegistration(ProxyCommand command, unsigned interfaceIndex);
    ~ProxyRegistration();
    ProxyRegistration(const ProxyRegistration&) = delete;
    ProxyRegistration& operator=(const ProxyRegistration&) = delete;

    /// Registers, and returns the exit status when the registration has ended. Throws AvahiError and
    /// std::system_error.
    int run();

 private:
    void publish(AvahiClient* client);
    void handleState(AvahiEntryGroupState state);
    void withdraw();
    void endInConflict(const char* reason);
    bool addRecords();

    ProxyCommand command_;
    AvahiIfIndex interfaceIndex_;
    EndingSignals signals_;
    AvahiEntryGroup* group_ = nullptr;
    unsigned localCollisions_ = 0;
    AvahiSession session_;
};

}  // namespace quillbay::dnssd
