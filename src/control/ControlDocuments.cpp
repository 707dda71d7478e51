#include "control/ControlDocuments.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "core/AppCoordinator.h"
#include "core/Version.h"
#include "platform/Utf8.h"
#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay::control {

namespace {

using Document = nlohmann::ordered_json;

/// JSON asks for the control characters of ASCII's first range to be escaped; terminals obey the others
/// (U+007F to U+009F), too. `json` is UTF-8, and such characters stand nowhere but in its texts.
std::string withControlsEscaped(std::string_view json) {
    constexpr auto deleteCharacter = '\x7f';
    constexpr auto firstByteOfTheOthers = '\xc2';
    std::string escaped;
    escaped.reserve(json.size());
    for (std::size_t index = 0; index < json.size(); ++index) {
        const bool isOther = json[index] == firstByteOfTheOthers && index + 1 < json.size() &&
                             static_cast<unsigned char>(json[index + 1]) < 0xa0U;
        if (isOther || json[index] == deleteCharacter)
            escaped += fmt::format("\\u{:04x}", static_cast<unsigned char>(json[isOther ? ++index : index]));
        else
            escaped += json[index];
    }
    return escaped;
}

std::string oneLine(const Document& document) {
    constexpr int noIndent = -1;
    return withControlsEscaped(document.dump(noIndent, ' ', false, Document::error_handler_t::replace)) +
           "\n";
}

template <typename Value>
Document orNull(const std::optional<Value>& value) {
    return value ? Document(*value) : Document(nullptr);
}

Document statusOf(const BridgeStatus& status) {
    const bool isError = status.kind == BridgeStatus::Kind::error;
    return {{"state", nameOf(status.kind)}, {"message", isError ? Document(status.message) : Document()}};
}

Document profileOf(const DeviceProfile& profile, const BridgeStatus& status) {
    return {{"id", profile.id()},
            {"displayName", profile.displayName},
            {"bonjourHost", profile.bonjourHost},
            {"providerID", orNull(profile.providerID)},
            {"providerIP", profile.providerIP},
            {"remotePairingPort", profile.remotePairingPort},
            {"bridgeEnabled", orNull(profile.bridgeEnabled)},
            {"status", statusOf(status)}};
}

/// ISO 8601 in UTC, to the second. (The calendar computations of the standard library: gmtime is one for all
/// threads.)
std::string timeText(std::chrono::system_clock::time_point time) {
    using std::chrono::floor;
    const auto day = floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(floor<std::chrono::seconds>(time - day));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text.data();
}

Document phoneOf(const CapturedBonjourService& service) {
    Document txt = Document::object();
    for (const auto& [key, value] : service.txt)
        txt[wellFormedUtf8(key)] = value;
    return {{"name", service.name},
            {"host", service.host},
            {"port", service.port},
            {"txt", std::move(txt)},
            {"lastSeen", timeText(service.lastSeen)},
            {"resolvedDeviceName", orNull(service.resolvedDeviceName)}};
}

}  // namespace

std::string statusDocument(const AppCoordinator& coordinator) {
    Document profiles = Document::array();
    for (const DeviceProfile& profile : coordinator.profiles())
        profiles.push_back(profileOf(profile, coordinator.status(profile.id())));
    return oneLine({{"version", applicationVersion()},
                    {"localIP", orNull(coordinator.localIP())},
                    {"overall", nameOf(coordinator.overallStatus().kind)},
                    {"profiles", std::move(profiles)}});
}

std::string phonesDocument(const std::vector<CapturedBonjourService>& services) {
    Document phones = Document::array();
    for (const CapturedBonjourService& service : services)
        phones.push_back(phoneOf(service));
    return oneLine({{"phones", std::move(phones)}});
}

std::string providersDocument(const AppCoordinator& coordinator) {
    Document providers = Document::array();
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all()) {
        const MeshVPNProvider& provider = *coordinator.providersByID().at(type.id);
        providers.push_back({{"id", type.id},
                             {"displayName", type.displayName},
                             {"installed", provider.isInstalled()},
                             {"binaryPath", provider.binaryPath()},
                             {"supportsDeviceDiscovery", type.supportsDeviceDiscovery}});
    }
    return oneLine({{"providers", std::move(providers)}});
}

std::string peersDocument(const std::string& providerID, const std::vector<MeshVPNDevice>& peers) {
    Document list = Document::array();
    for (const MeshVPNDevice& peer : peers)
        list.push_back(
            {{"hostName", peer.hostName}, {"ipAddresses", peer.ipAddresses}, {"online", peer.online}});
    return oneLine({{"provider", providerID}, {"peers", std::move(list)}});
}

std::string scanProgressDocument(std::size_t probed, std::size_t total) {
    return oneLine({{"probed", probed}, {"of", total}});
}

std::string scanResultDocument(const RemotePairingScanReport& report, std::size_t probed, std::size_t total) {
    return oneLine({{"port", orNull(report.port)},
                    {"openButSilent", report.openButSilent},
                    {"probed", probed},
                    {"of", total}});
}

std::string settingsDocument(const AppCoordinator& coordinator) {
    const RelayAccess::Refused refused = coordinator.refusedClients();
    return oneLine({{"onlyThisComputer", coordinator.onlyThisComputer()},
                    {"refusedConnections", refused.connections},
                    {"refusedDatagrams", refused.datagrams}});
}

std::string lineDocument(const std::string& line) {
    return oneLine({{"line", line}});
}

std::string endDocument() {
    return oneLine(Document::object());
}

std::string idDocument(const std::string& profileID) {
    return oneLine({{"id", profileID}});
}

std::string pathDocument(const std::string& path) {
    return oneLine({{"path", path}});
}

std::string errorDocument(std::string_view sentence) {
    return oneLine({{"error", sentence}});
}

}  // namespace quillbay::control
