#include "core/ProxyHosts.h"

#include <utility>

#include "platform/Text.h"

namespace quillbay {

void ProxyHosts::insert(const std::string& owner, const std::string& host) {
    std::string lowered = lowercased(host);
    const std::lock_guard lock(mutex_);
    hostByOwner_.insert_or_assign(owner, std::move(lowered));
}

void ProxyHosts::remove(const std::string& owner) {
    const std::lock_guard lock(mutex_);
    hostByOwner_.erase(owner);
}

std::set<std::string> ProxyHosts::all() const {
    const std::lock_guard lock(mutex_);
    std::set<std::string> hosts;
    for (const auto& [owner, host] : hostByOwner_)
        hosts.insert(host);
    return hosts;
}

}  // namespace quillbay
