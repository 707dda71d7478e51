#include "discovery/ZoneDumpReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "discovery/NamingConflict.h"
#include "discovery/ZoneDumpLine.h"
#include "platform/Text.h"

namespace quillbay {

namespace {

/// Of equal names only the last one stays; the order of those is kept.
std::vector<std::string> lastOfEach(std::vector<std::string> names) {
    std::unordered_set<std::string_view> seen;
    std::vector<std::string> kept;
    std::reverse(names.begin(), names.end());
    for (const std::string& name : names)
        if (seen.insert(name).second) kept.push_back(name);
    std::reverse(kept.begin(), kept.end());
    return kept;
}

}  // namespace

ZoneDumpReader::ZoneDumpReader(std::string serviceType, std::string domain)
    : currentServiceType_(std::move(serviceType)), currentDomain_(std::move(domain)) {}

ZoneDumpReader::Output ZoneDumpReader::consume(std::string_view chunk,
                                               std::chrono::system_clock::time_point now,
                                               const ProxyHosts& activeProxyHosts) {
    std::vector<std::string> changed;
    readBuffer_.append(chunk, [this, &changed](std::string_view line) {
        if (auto recordName = read(line)) changed.push_back(std::move(*recordName));
    });
    Output output;
    if (changed.empty()) return output;
    if (records_.overflowed() && !std::exchange(overflowLogged_, true))
        output.logLines.push_back(
            fmt::format("Bonjour: too many {} records — the ones printed longest ago are forgotten.",
                        currentServiceType_));
    const std::set<std::string> proxies = activeProxyHosts ? activeProxyHosts() : std::set<std::string>();
    for (const std::string& recordName : lastOfEach(std::move(changed))) {
        auto service = emit(recordName, proxies, output.logLines);
        if (!service) continue;
        service->lastSeen = now;
        output.services.push_back(std::move(*service));
    }
    return output;
}

void ZoneDumpReader::beginAnew() {
    readBuffer_.clear();
    records_.clear();
}

std::optional<std::string> ZoneDumpReader::read(std::string_view line) {
    const auto parsed = parseZoneDumpLine(line, currentServiceType_);
    if (!parsed || parsed->recordName.size() > maximumNameBytes) return std::nullopt;
    if (parsed->kind == "SRV") {
        auto srv = parseSRV(parsed->tokens);
        if (!srv || srv->host.size() > maximumNameBytes) return std::nullopt;
        records_.storeSRV(parsed->recordName, std::move(*srv));
    } else if (parsed->kind == "TXT") {
        records_.storeTXT(parsed->recordName, parseTXT(parsed->tokens));
    } else {
        return std::nullopt;
    }
    return std::string(parsed->recordName);
}

std::optional<CapturedBonjourService> ZoneDumpReader::emit(const std::string& recordName,
                                                           const std::set<std::string>& activeProxyHosts,
                                                           std::vector<std::string>& logLines) {
    const ZoneDumpSRV* const srv = records_.srv(recordName);
    if (srv == nullptr || !looksLikeHostname(srv->host)) return std::nullopt;
    // A name taken by somebody else gets a number in parentheses, and the blank before it is printed as an
    // escape; the names that phones give themselves have nothing that needs one.
    if (recordName.find('\\') != std::string::npos) {
        logRejection(recordName, "instance name lost a naming conflict and was auto-renamed", logLines);
        return std::nullopt;
    }
    const std::string& host = srv->host;
    const std::string recoveredHost = stripNamingConflictSuffix(host);
    // The name as it is comes first: a phone may be called "phone-2" and be proxied under that name.
    for (const std::string& own : {host, recoveredHost}) {
        if (!activeProxyHosts.contains(lowercased(own))) continue;
        logRejection(recordName,
                     fmt::format("host \"{}\" matches this Mac's own active proxy registration for \"{}\" — "
                                 "self-loop, not a real device",
                                 host, own),
                     logLines);
        return std::nullopt;
    }
    if (hasNamingConflictSuffix(host))
        logOnce(
            fmt::format("Bonjour: {} record {} — host \"{}\" lost a naming conflict — recovered as \"{}\".",
                        currentServiceType_, recordName, host, recoveredHost),
            logLines);
    const auto* const txt = records_.txt(recordName);
    return CapturedBonjourService{.name = recordName,
                                  .serviceType = currentServiceType_,
                                  .domain = currentDomain_,
                                  .host = recoveredHost,
                                  .port = srv->port,
                                  .txt = txt == nullptr ? std::map<std::string, std::string>() : *txt,
                                  .lastSeen = {},
                                  .resolvedDeviceName = std::nullopt};
}

void ZoneDumpReader::logRejection(const std::string& recordName, const std::string& reason,
                                  std::vector<std::string>& logLines) {
    logOnce(fmt::format("Bonjour: ignoring {} record {} — {}.", currentServiceType_, recordName, reason),
            logLines);
}

void ZoneDumpReader::logOnce(const std::string& message, std::vector<std::string>& logLines) {
    if (loggedRejections_.size() >= maximumRejections || !loggedRejections_.insert(message).second) return;
    logLines.push_back(message);
    if (loggedRejections_.size() == maximumRejections)
        logLines.push_back(fmt::format(
            "Bonjour: no more is said about {} records that are ignored or recovered.", currentServiceType_));
}

}  // namespace quillbay
