#include "dns-sd/CommandLine.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "dns-sd/TXTRecord.h"

namespace quillbay::dnssd {

const char* const usageLine =
    "usage: dns-sd -Z TYPE DOMAIN | dns-sd -i IFACE -P NAME TYPE DOMAIN PORT HOST ADDRESS [KEY=VALUE...]";

namespace {

/// A refusal on its way out of the parser.
class Refusal : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

constexpr std::size_t maximumLabelBytes = 63;
constexpr std::size_t proxyArguments = 9;

std::string withoutTrailingDot(std::string name) {
    if (name.ends_with('.')) name.pop_back();
    return name;
}

bool isServiceLabel(std::string_view label) {
    if (label.size() < 2 || label.size() > maximumLabelBytes || label[0] != '_') return false;
    return std::all_of(label.begin() + 1, label.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_';
    });
}

std::string serviceType(const std::string& text) {
    const std::size_t dot = text.find('.');
    const std::string_view view = text;
    const bool valid = dot != std::string::npos && isServiceLabel(view.substr(0, dot)) &&
                       (view.substr(dot) == "._tcp" || view.substr(dot) == "._udp");
    if (!valid) throw Refusal(fmt::format("\"{}\" is no service type such as _name._tcp", text));
    return text;
}

std::string domain(const std::string& text) {
    std::string name = withoutTrailingDot(text);
    if (name.empty()) throw Refusal("the domain is empty");
    return name;
}

std::string instanceName(const std::string& text) {
    if (text.empty() || text.size() > maximumLabelBytes)
        throw Refusal(
            fmt::format("an instance name has 1 to {} bytes, not {}", maximumLabelBytes, text.size()));
    return text;
}

std::uint16_t port(const std::string& text) {
    std::uint16_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc{} || result.ptr != end || number == 0)
        throw Refusal(fmt::format("\"{}\" is no port from 1 to 65535", text));
    return number;
}

std::string host(const std::string& text) {
    std::string name = withoutTrailingDot(text);
    if (name.empty()) throw Refusal("the host name is empty");
    if (name.find('.') == std::string::npos) name += ".local";
    return name;
}

std::string ipv4Address(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        throw Refusal(fmt::format("\"{}\" is no IPv4 address", text));
    return text;
}

std::vector<std::string> txtStrings(std::vector<std::string> strings) {
    for (const std::string& string : strings) {
        if (string.find('=') == std::string::npos)
            throw Refusal(fmt::format("\"{}\" is not KEY=VALUE", string));
        if (string.size() > TXTRecord::maximumStringBytes)
            throw Refusal(fmt::format("a KEY=VALUE of {} bytes is longer than {}", string.size(),
                                      TXTRecord::maximumStringBytes));
    }
    if (!TXTRecord::encode(strings))
        throw Refusal(
            fmt::format("the KEY=VALUE arguments need more than {} bytes", TXTRecord::maximumBytes));
    return strings;
}

ProxyCommand proxyCommand(const std::vector<std::string>& arguments) {
    ProxyCommand command;
    command.interfaceName = arguments[1];
    command.instanceName = instanceName(arguments[3]);
    command.serviceType = serviceType(arguments[4]);
    command.domain = domain(arguments[5]);
    command.port = port(arguments[6]);
    command.host = host(arguments[7]);
    command.address = ipv4Address(arguments[8]);
    command.txt = txtStrings({arguments.begin() + proxyArguments, arguments.end()});
    return command;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    try {
        if (arguments.size() == 3 && arguments[0] == "-Z")
            return DumpCommand{serviceType(arguments[1]), domain(arguments[2])};
        if (arguments.size() >= proxyArguments && arguments[0] == "-i" && arguments[2] == "-P")
            return proxyCommand(arguments);
    } catch (const Refusal& refusal) {
        return UsageError{refusal.what()};
    }
    return UsageError{};
}

}  // namespace quillbay::dnssd
