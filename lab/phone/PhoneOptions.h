#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay::lab {

/// What the phone is told on its command line.
struct PhoneOptions {
    /// The Bonjour instance name.
    std::string name = "Simulated iPhone";
    /// The host name of the record, with ".local"; empty means that of the host's own daemon.
    std::string host;
    /// The interface and address of the local network; with no interface nothing is announced.
    std::string interface;
    std::string localAddress;
    /// The address that serves the pairing port and the tunnel ports.
    std::string serveAddress = "127.0.0.1";
    /// 0 lets the system choose.
    std::uint16_t pairingPort = 0;
    std::vector<std::uint16_t> tunnelPorts;
    /// TXT strings as they go on the wire, in this order.
    std::vector<std::string> txt;
    /// The path of the control socket; empty means standard input.
    std::string control;
};

/// A command line that cannot be understood; `what` is the sentence for the person who typed it.
class OptionError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments after the program's name. Throws `OptionError`.
PhoneOptions parsePhoneOptions(const std::vector<std::string>& arguments);

/// A list such as "55000-55003,57000", in the order given. Throws `OptionError`, also for more than 4,096
/// ports.
std::vector<std::uint16_t> parsePortList(std::string_view text);

}  // namespace quillbay::lab
