#include "core/DiagnosticsTexts.h"

#include <fmt/format.h>

#include "core/LogTimestamp.h"

namespace quillbay {

namespace {

std::string joined(const std::vector<std::string>& texts, const char* separator) {
    return fmt::format("{}", fmt::join(texts, separator));
}

std::string providerNames(const DiagnosticsFacts& facts) {
    return facts.installedProviders.empty() ? "none" : joined(facts.installedProviders, ", ");
}

std::string statusText(const BridgeStatus& status) {
    const std::string name = nameOf(status.kind);
    return status.kind == BridgeStatus::Kind::error ? name + "(" + status.message + ")" : name;
}

std::string headerLine(const DiagnosticsFacts::Profile& profile) {
    return fmt::format("  - \"{}\" provider={} ip={} port={} bridgeEnabled={} status={}", profile.displayName,
                       profile.providerDisplayName, profile.providerIP, profile.remotePairingPort,
                       profile.bridgeEnabled, statusText(profile.status));
}

}  // namespace

std::string diagnosticsHeader(const DiagnosticsFacts& facts) {
    std::vector<std::string> lines{
        "Quillbay diagnostics",
        "Exported: " + timestampForHeader(facts.exported),
        "App version: " + facts.version,
        // The label that the support team knows, whatever the system.
        "macOS: " + facts.operatingSystemVersion,
        "Computer name: " + facts.computerName,
        "Local IP (" + facts.interfaceName + "): " + facts.localIP.value_or("none"),
        "Installed providers: " + providerNames(facts),
        fmt::format("Profiles ({})", facts.profiles.size()),
    };
    for (const DiagnosticsFacts::Profile& profile : facts.profiles)
        lines.push_back(headerLine(profile));
    lines.emplace_back("--- log ---");
    return joined(lines, "\n");
}

std::string supportEmailBody(const DiagnosticsFacts& facts) {
    std::vector<std::string> devices;
    devices.reserve(facts.profiles.size());
    for (const DiagnosticsFacts::Profile& profile : facts.profiles)
        devices.push_back(fmt::format("\"{}\": {}, {}", profile.displayName, profile.providerDisplayName,
                                      statusText(profile.status)));
    return "Hi Quillbay Support,\n\nPlease find my diagnostic logs attached as a zip.\n\n——— System ———\n"
           "App version: " +
           facts.version + "\nComputer name: " + facts.computerName + "\nLocal IP (" + facts.interfaceName +
           "): " + facts.localIP.value_or("none") + "\nInstalled providers: " + providerNames(facts) +
           "\n\n——— Devices ———\n" + joined(devices, "\n") +
           "\n\n——— Issue ———\n(Please describe what went wrong and what you expected to happen.)\n\n\n\n"
           "Thanks";
}

std::string timestampForHeader(std::chrono::system_clock::time_point date) {
    constexpr std::size_t lengthWithoutMilliseconds = 19;
    LogTimestamp formatter;
    return formatter.format(date).substr(0, lengthWithoutMilliseconds);
}

}  // namespace quillbay
