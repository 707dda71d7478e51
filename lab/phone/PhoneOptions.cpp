#include "phone/PhoneOptions.h"

#include "phone/Words.h"

namespace quillbay::lab {

namespace {

constexpr std::size_t mostPorts = 4096;
constexpr std::size_t longestTxtString = 255;

std::uint16_t parsePort(std::string_view text) {
    const auto port = parseNumber<std::uint16_t>(text);
    if (!port) throw OptionError("no port: " + std::string(text));
    return *port;
}

void apply(PhoneOptions& options, const std::string& option, const std::string& value) {
    if (option == "--name") {
        options.name = value;
    } else if (option == "--host") {
        options.host = value;
    } else if (option == "--interface") {
        options.interface = value;
    } else if (option == "--local-address") {
        options.localAddress = value;
    } else if (option == "--serve") {
        options.serveAddress = value;
    } else if (option == "--port") {
        options.pairingPort = parsePort(value);
    } else if (option == "--tunnel") {
        options.tunnelPorts = parsePortList(value);
    } else if (option == "--txt") {
        if (value.empty() || value.size() > longestTxtString)
            throw OptionError("a TXT string has 1 to 255 bytes");
        options.txt.push_back(value);
    } else if (option == "--control") {
        options.control = value;
    } else {
        throw OptionError("unknown option: " + option);
    }
}

}  // namespace

std::vector<std::uint16_t> parsePortList(std::string_view text) {
    std::vector<std::uint16_t> ports;
    for (const auto part : split(text, ',')) {
        const auto ends = split(part, '-');
        if (ends.size() > 2) throw OptionError("no range of ports: " + std::string(part));
        const unsigned first = parsePort(ends.front());
        const unsigned last = parsePort(ends.back());
        if (first == 0 || last < first || last - first >= mostPorts - ports.size()) {
            throw OptionError("no range of ports: " + std::string(part));
        }
        for (unsigned port = first; port <= last; ++port)
            ports.push_back(static_cast<std::uint16_t>(port));
    }
    return ports;
}

PhoneOptions parsePhoneOptions(const std::vector<std::string>& arguments) {
    PhoneOptions options;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
        if (i + 1 == arguments.size()) throw OptionError("no value for " + arguments[i]);
        apply(options, arguments[i], arguments[i + 1]);
    }
    if (!options.host.empty() && options.localAddress.empty())
        throw OptionError("--host needs --local-address");
    return options;
}

}  // namespace quillbay::lab
