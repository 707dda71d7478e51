#include "ctl/DocumentText.h"

#include <fmt/format.h>

#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "ctl/Ages.h"
#include "ctl/Table.h"
#include "platform/PrintableText.h"
#include "platform/Text.h"

namespace quillbay::ctl {

namespace {

using Document = nlohmann::ordered_json;
using Kind = ShownDocument::Kind;
using Now = std::chrono::system_clock::time_point;

struct Setting {
    Style style;
    Now now;
};

/// The text of a member, or what stands for a null.
std::string textOr(const Document& value, const char* absent) {
    return value.is_null() ? absent : value.get<std::string>();
}

/// 16384 as "16,384".
std::string grouped(std::uint64_t number) {
    constexpr std::uint64_t group = 1000;
    if (number < group) return std::to_string(number);
    return fmt::format("{},{:03}", grouped(number / group), number % group);
}

Table::Cell statusCell(const Document& status) {
    const auto state = status.at("state").get<std::string>();
    if (state == "error") return {"error: " + textOr(status.at("message"), "unknown"), Style::Colour::red};
    if (state == "on") return {state, Style::Colour::green};
    if (state == "pairing") return {state, Style::Colour::yellow};
    return {state};
}

ShownDocument showStatus(const Document& document, const Setting& setting) {
    std::string text =
        printable(fmt::format("Quillbay {}: {}", document.at("version").get<std::string>(),
                              document.at("overall").get<std::string>())) +
        "\n" + printable("Address on the local network: " + textOr(document.at("localIP"), "none")) + "\n\n";
    Table table({"NAME", "HOST", "PROVIDER", "ADDRESS", "PORT", "WANTED", "BRIDGE"}, setting.style);
    const Document& profiles = document.at("profiles");
    for (const Document& profile : profiles) {
        const Document& wanted = profile.at("bridgeEnabled");
        table.add({profile.at("displayName").get<std::string>(), profile.at("bonjourHost").get<std::string>(),
                   textOr(profile.at("providerID"), "-"), profile.at("providerIP").get<std::string>(),
                   std::to_string(profile.at("remotePairingPort").get<std::uint16_t>()),
                   !wanted.is_null() && wanted.get<bool>() ? "yes" : "no", statusCell(profile.at("status"))});
    }
    return {Kind::last, text + (profiles.empty() ? "No phone is paired.\n" : table.text())};
}

std::string txtText(const Document& txt) {
    std::string text;
    for (const auto& [key, value] : txt.items())
        text += (text.empty() ? "" : " ") + key + "=" + value.get<std::string>();
    return text;
}

ShownDocument showPhones(const Document& document, const Setting& setting) {
    const Document& phones = document.at("phones");
    if (phones.empty()) return {Kind::last, "There is no phone on the local network.\n"};
    Table table({"NAME", "HOST", "PORT", "SEEN", "DEVICE", "TXT"}, setting.style);
    for (const Document& phone : phones)
        table.add({phone.at("name").get<std::string>(), phone.at("host").get<std::string>(),
                   std::to_string(phone.at("port").get<std::uint16_t>()),
                   ageText(phone.at("lastSeen").get<std::string>(), setting.now),
                   textOr(phone.at("resolvedDeviceName"), "-"), txtText(phone.at("txt"))});
    return {Kind::last, table.text()};
}

ShownDocument showProviders(const Document& document, const Setting& setting) {
    Table table({"ID", "NAME", "INSTALLED", "LISTS PEERS", "TOOL"}, setting.style);
    const auto yesNo = [](const Document& value) { return value.get<bool>() ? "yes" : "no"; };
    for (const Document& provider : document.at("providers"))
        table.add({provider.at("id").get<std::string>(), provider.at("displayName").get<std::string>(),
                   yesNo(provider.at("installed")), yesNo(provider.at("supportsDeviceDiscovery")),
                   provider.at("binaryPath").get<std::string>()});
    return {Kind::last, table.text()};
}

ShownDocument showPeers(const Document& document, const Setting& setting) {
    const Document& peers = document.at("peers");
    const auto provider = document.at("provider").get<std::string>();
    if (peers.empty()) return {Kind::last, printable(provider + " lists no peers.") + "\n"};
    Table table({"NAME", "STATE", "ADDRESSES"}, setting.style);
    for (const Document& peer : peers) {
        const auto addresses = peer.at("ipAddresses").get<std::vector<std::string>>();
        const bool online = peer.at("online").get<bool>();
        table.add({peer.at("hostName").get<std::string>(),
                   {online ? "online" : "offline", online ? Style::Colour::green : Style::Colour::none},
                   addresses.empty() ? "-" : fmt::format("{}", fmt::join(addresses, ", "))});
    }
    return {Kind::last, table.text()};
}

ShownDocument showScan(const Document& document, const Setting& /*setting*/) {
    const std::string probed =
        fmt::format("{} of {} ports probed", grouped(document.at("probed").get<std::uint64_t>()),
                    grouped(document.at("of").get<std::uint64_t>()));
    if (!document.contains("port")) return {Kind::progress, probed};
    const Document& port = document.at("port");
    if (!port.is_null())
        return {Kind::last,
                fmt::format("The phone answers on port {} ({}).\n", port.get<std::uint16_t>(), probed)};
    const auto silent = document.at("openButSilent").get<std::vector<std::uint16_t>>();
    if (silent.empty())
        return {Kind::last, fmt::format("The phone's port was not found: nothing answered ({}).\n", probed)};
    return {Kind::last, fmt::format("The phone's port was not found: open, but of no use are {} ({}).\n",
                                    fmt::join(silent, ", "), probed)};
}

ShownDocument showLog(const Document& document, const Setting& /*setting*/) {
    if (document.empty()) return {Kind::last, ""};
    return {Kind::more, printable(document.at("line").get<std::string>()) + "\n"};
}

ShownDocument done(const char* what, const Document& value) {
    return {Kind::last, what + printable(value.get<std::string>()) + "\n"};
}

ShownDocument showReport(const Document& document, const Setting& /*setting*/) {
    return done("Written: ", document.at("path"));
}

/// "1 connection", "2,000 connections".
std::string counted(const Document& count, const char* noun) {
    const auto number = count.get<std::uint64_t>();
    return grouped(number) + " " + noun + (number == 1 ? "" : "s");
}

ShownDocument showSettings(const Document& document, const Setting& setting) {
    Table table({"SETTING", "VALUE"}, setting.style);
    const bool only = document.at("onlyThisComputer").get<bool>();
    table.add({"Only this computer may use the bridge", only ? "on" : "off"});
    return {Kind::last, table.text() + "\nRefused to others: " +
                            counted(document.at("refusedConnections"), "connection") + ", " +
                            counted(document.at("refusedDatagrams"), "datagram") + "\n"};
}

template <const char* const& what>
ShownDocument showID(const Document& document, const Setting& /*setting*/) {
    return done(what, document.at("id"));
}

constexpr const char* paired = "Paired: ";
constexpr const char* starting = "Starting: ";
constexpr const char* stopped = "Stopped: ";
constexpr const char* renamed = "Renamed: ";
constexpr const char* removed = "Removed: ";

using Show = ShownDocument (*)(const Document&, const Setting&);

constexpr std::array<std::pair<std::string_view, Show>, 13> shows{{
    {"status", showStatus},
    {"phones", showPhones},
    {"providers", showProviders},
    {"peers", showPeers},
    {"pair", showID<paired>},
    {"start", showID<starting>},
    {"stop", showID<stopped>},
    {"scan", showScan},
    {"rename", showID<renamed>},
    {"remove", showID<removed>},
    {"log", showLog},
    {"report", showReport},
    {"settings", showSettings},
}};

ShownDocument shown(std::string_view command, const Document& document, const Setting& setting) {
    if (!document.is_object()) throw UnexpectedDocument("it is no object");
    if (const auto error = document.find("error"); error != document.end())
        return {Kind::refused, printable(trimmed(error->get<std::string>()))};
    for (const auto& [name, show] : shows)
        if (name == command) return show(document, setting);
    throw UnexpectedDocument("nothing is known of such an answer");
}

}  // namespace

ShownDocument showDocument(std::string_view command, std::string_view document, Style style, Now now) {
    try {
        return shown(command, Document::parse(document), {style, now});
    } catch (const nlohmann::json::exception& error) {
        throw UnexpectedDocument(printable(error.what()));
    }
}

}  // namespace quillbay::ctl
