#include "core/CapturedServices.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace quillbay {

namespace {

/// The key of the TXT entry by which the developer tools know the phone.
constexpr const char* identifierKey = "identifier";

const std::string* identifier(const CapturedBonjourService& service) {
    const auto entry = service.txt.find(identifierKey);
    return entry == service.txt.end() ? nullptr : &entry->second;
}

void applyName(CapturedBonjourService& service, const DeviceNames& names) {
    if (const std::string* known = identifier(service))
        if (auto name = names.name(*known)) service.resolvedDeviceName = std::move(name);
}

/// A record that comes in two lines lacks its identifier in between; one with another identifier is another
/// device.
bool mayBeSameDevice(const CapturedBonjourService& earlier, const CapturedBonjourService& later) {
    const std::string* before = identifier(earlier);
    const std::string* now = identifier(later);
    return before == nullptr || now == nullptr || *before == *now;
}

std::size_t costOf(const std::vector<CapturedBonjourService>& services) {
    std::size_t bytes = 0;
    for (const CapturedBonjourService& service : services)
        bytes += CapturedServices::cost(service);
    return bytes;
}

}  // namespace

std::size_t CapturedServices::cost(const CapturedBonjourService& service) {
    /// What a node of a map and two strings take beside their text.
    constexpr std::size_t entryBytes = 128;
    std::size_t bytes = sizeof service + service.name.size() + service.host.size();
    for (const auto& [key, value] : service.txt)
        bytes += key.size() + value.size() + entryBytes;
    return bytes;
}

std::vector<CapturedBonjourService>::iterator CapturedServices::place(const std::string& host) {
    return std::lower_bound(sorted_.begin(), sorted_.end(), host,
                            [](const CapturedBonjourService& service, const std::string& wanted) {
                                return service.host < wanted;
                            });
}

CapturedBonjourService* CapturedServices::find(const std::string& host) {
    const auto found = place(host);
    return found != sorted_.end() && found->host == host ? &*found : nullptr;
}

void CapturedServices::upsert(std::vector<CapturedBonjourService> services, const DeviceNames& names) {
    std::map<std::string, CapturedBonjourService> added;
    for (CapturedBonjourService& service : services) {
        CapturedBonjourService* earlier = find(service.host);
        if (earlier != nullptr && !service.resolvedDeviceName && mayBeSameDevice(*earlier, service))
            service.resolvedDeviceName = earlier->resolvedDeviceName;
        applyName(service, names);
        if (earlier == nullptr) {
            const auto inBatch = added.find(service.host);
            if (inBatch != added.end()) earlier = &inBatch->second;
        }
        const std::size_t bytes = sortedBytes_ - (earlier != nullptr ? cost(*earlier) : 0) + cost(service);
        if (bytes > maxBytes) continue;
        if (earlier != nullptr) {
            *earlier = std::move(service);
        } else if (sorted_.size() + added.size() < maxServices) {
            std::string host = service.host;
            added.emplace(std::move(host), std::move(service));
        } else {
            continue;
        }
        sortedBytes_ = bytes;
    }
    std::erase_if(missing_, [&](const auto& service) { return added.contains(service.host); });
    insert(std::move(added));
}

void CapturedServices::insert(std::map<std::string, CapturedBonjourService> added) {
    if (added.empty()) return;
    if (added.size() == 1) {
        sorted_.insert(place(added.begin()->first), std::move(added.begin()->second));
        return;
    }
    // Many at once, each moved to its place on its own, could take seconds.
    std::vector<CapturedBonjourService> merged;
    merged.reserve(sorted_.size() + added.size());
    auto earlier = sorted_.begin();
    for (auto& entry : added) {
        const auto next = std::find_if(earlier, sorted_.end(),
                                       [&](const auto& listed) { return entry.first < listed.host; });
        std::move(earlier, next, std::back_inserter(merged));
        merged.push_back(std::move(entry.second));
        earlier = next;
    }
    std::move(earlier, sorted_.end(), std::back_inserter(merged));
    sorted_ = std::move(merged);
}

bool CapturedServices::markSeen(const std::string& host, std::chrono::system_clock::time_point time) {
    if (CapturedBonjourService* service = find(host)) {
        service->lastSeen = time;
        return true;
    }
    const auto missing = std::find_if(missing_.begin(), missing_.end(),
                                      [&](const auto& service) { return service.host == host; });
    if (missing == missing_.end() || sorted_.size() >= maxServices) return false;
    const std::size_t bytes = sortedBytes_ + cost(*missing);
    if (bytes > maxBytes) return false;
    sortedBytes_ = bytes;
    missing->lastSeen = time;
    sorted_.insert(place(host), std::move(*missing));
    missing_.erase(missing);
    return true;
}

bool CapturedServices::keepSeenAfter(std::chrono::system_clock::time_point cutoff) {
    std::vector<CapturedBonjourService> kept;
    std::size_t missingBytes = costOf(missing_);
    for (CapturedBonjourService& service : sorted_) {
        if (service.lastSeen > cutoff) {
            kept.push_back(std::move(service));
            continue;
        }
        const std::size_t bytes = cost(service);
        sortedBytes_ -= bytes;
        if (missing_.size() >= maxServices || missingBytes + bytes > maxBytes) continue;
        missingBytes += bytes;
        missing_.push_back(std::move(service));
    }
    const std::size_t before = sorted_.size();
    sorted_ = std::move(kept);
    return sorted_.size() != before;
}

void CapturedServices::forgetMissing(std::chrono::system_clock::time_point cutoff) {
    std::erase_if(missing_, [&](const auto& service) { return service.lastSeen <= cutoff; });
}

void CapturedServices::applyNames(const DeviceNames& names) {
    for (auto* services : {&sorted_, &missing_})
        for (CapturedBonjourService& service : *services)
            applyName(service, names);
}

void CapturedServices::shiftTimes(std::chrono::system_clock::duration step,
                                  std::chrono::system_clock::time_point now) {
    const bool setBack = step < std::chrono::system_clock::duration::zero();
    for (auto* services : {&sorted_, &missing_})
        for (CapturedBonjourService& service : *services)
            if (!setBack || service.lastSeen > now) service.lastSeen = std::min(service.lastSeen + step, now);
}

}  // namespace quillbay
