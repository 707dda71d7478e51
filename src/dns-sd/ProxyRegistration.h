#pragma once

#include <avahi-client/publish.h>

#include "dns-sd/AvahiSession.h"
#include "dns-sd/CommandLine.h"
#include "dns-sd/EndingSignals.h"

namespace quillbay::dnssd {

/// Registers a service and the address of its host on behalf of that host, on one interface and IPv4 only.
///
///     connecting ── daemon runs ──> probing ── nobody objects ──> registered
///         ^                            │                               │
///         └──── daemon is restarted ───┼───────────────────────────────┤
///                                      │                               │
///                                      ├── SIGTERM, SIGINT ────────────┤──> withdrawn, status 0
///                                      └── somebody else's record ─────┘──> withdrawn, status 1
///
/// A name in use is never changed for another one: whoever holds it is the host itself.
///
/// Once registered, only a host that announces its name without asking for it is noticed. One that asks first
/// (RFC 6762, section 8.1) is told by the daemon at once that the name is taken, and takes another one. To
/// end the registration at such a question would come too late to change that, and would end it as well for
/// every other computer that registers the same host, or device that happens to have its name.
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
