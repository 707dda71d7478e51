#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"
#include "platform/HostTools.h"

namespace quillbay {

/// Announces the phone's service on the local network by proxy: a `dns-sd -P` child, and the registration
/// lasts exactly as long as it runs. At most one child. Used on the main queue.
class DNSServiceProxy {
 public:
    /// What registering can throw.
    class ProxyError final : public std::runtime_error {
     public:
        enum class Kind { processLaunchFailed, notRunning };
        static ProxyError processLaunchFailed(std::exception_ptr underlying);
        static ProxyError notRunning();

        [[nodiscard]] Kind kind() const { return kind_; }
        [[nodiscard]] std::exception_ptr underlying() const { return underlying_; }

     private:
        ProxyError(Kind kind, std::exception_ptr underlying, const std::string& text);
        Kind kind_;
        std::exception_ptr underlying_;
    };

    struct Registration {
        std::string instanceName;
        std::string serviceType;
        std::uint16_t port = 0;
        std::string host;
        /// The IPv4 address that the record points at, in dotted decimals.
        std::string address;
        /// The interface on which it is announced.
        std::string interfaceName;
        std::map<std::string, std::string> txtRecord;
    };

    explicit DNSServiceProxy(HostTools tools);
    /// As `stop`.
    ~DNSServiceProxy();
    DNSServiceProxy(const DNSServiceProxy&) = delete;
    DNSServiceProxy& operator=(const DNSServiceProxy&) = delete;

    /// Ends the earlier child and every other registration of the same instance, then launches the new child.
    /// Blocks for as long as these take to end. Throws ProxyError::processLaunchFailed.
    void start(const Registration& registration);

    /// Ends the child and waits until it has; never fails. May be called more than once. The caller waits for
    /// as long as the child takes to withdraw its records, and little more than two seconds for one that will
    /// not end.
    void stop();

    /// The arguments of the child, in order.
    static std::vector<std::string> arguments(const Registration& registration);

    /// Ends every `dns-sd -P` on this computer that an earlier run left behind; called before any bridge
    /// exists. Tells `onLog` (may be empty) once if there were any. Blocks while it lists the processes.
    /// Never fails.
    static void killAllOrphanedProxyProcesses(const HostTools& tools,
                                              const std::function<void(const std::string&)>& onLog);

    /// Ends every `dns-sd -P` whose command line contains the instance name, which may be part of a longer
    /// one. An empty name is part of every command line: it ends all of them, those of other bridges
    /// included. No phone has one, so whoever makes profiles must not let one in.
    static void killOrphanedRegistrations(const HostTools& tools, const std::string& instanceName);

 private:
    HostTools tools_;
    std::optional<ChildProcess> process_;
};

}  // namespace quillbay
