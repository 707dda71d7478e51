#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace quillbay::dnssd {

/// `-Z TYPE DOMAIN`: prints the records of every instance of a service type, until it is ended.
struct DumpCommand {
    std::string serviceType;
    std::string domain;
    bool operator==(const DumpCommand&) const = default;
};

/// `-i IFACE -P NAME TYPE DOMAIN PORT HOST ADDRESS [KEY=VALUE…]`: registers a service on behalf of another
/// host, until it is ended.
struct ProxyCommand {
    std::string interfaceName;
    std::string instanceName;
    std::string serviceType;
    std::string domain;
    std::uint16_t port = 0;
    /// Fully qualified, without a dot at the end.
    std::string host;
    /// Dotted decimals.
    std::string address;
    std::vector<std::string> txt;
    bool operator==(const ProxyCommand&) const = default;
};

/// What is wrong with the arguments, in a sentence without a full stop; empty when they are no known form at
/// all.
struct UsageError {
    std::string reason;
    bool operator==(const UsageError&) const = default;
};

using CommandLine = std::variant<DumpCommand, ProxyCommand, UsageError>;

/// Reads the arguments without the program's name. Does not look at the system: whether the interface exists
/// is found out by whoever uses it.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// One line, without its line feed.
extern const char* const usageLine;

}  // namespace quillbay::dnssd
