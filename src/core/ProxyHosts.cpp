#include "core/ProxyHosts.h"

#include <utility>

#include "platform/Text.h"

namespace quillbay {

ProxyHosts::ProxyHosts(const Clock& clock) : clock_(clock) {}

void ProxyHosts::insert(const std::string& owner, const std::string& host) {
    std::string lowered = lowercased(host);
    const std::lock_guard lock(mutex_);
    withdraw(owner);
    hostByOwner_.emplace(owner, std::move(lowered));
}

void ProxyHosts::remove(const std::string& owner) {
    const std::lock_guard lock(mutex_);
    withdraw(owner);
}

std::set<std::string> ProxyHosts::all() const {
    const auto now = clock_.steadyNow();
    const std::lock_guard lock(mutex_);
    std::set<std::string> hosts;
    for (const auto& [owner, host] : hostByOwner_)
        hosts.insert(host);
    for (const auto& [host, until] : withdrawnUntil_)
        if (now < until) hosts.insert(host);
    return hosts;
}

void ProxyHosts::withdraw(const std::string& owner) {
    const auto now = clock_.steadyNow();
    std::erase_if(withdrawnUntil_, [&](const auto& entry) { return entry.second <= now; });
    const auto announced = hostByOwner_.find(owner);
    if (announced == hostByOwner_.end()) return;
    withdrawnUntil_.insert_or_assign(std::move(announced->second), now + withdrawalTime);
    hostByOwner_.erase(announced);
}

}  // namespace quillbay
