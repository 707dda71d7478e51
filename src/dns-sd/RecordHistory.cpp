#include "dns-sd/RecordHistory.h"

#include <algorithm>

namespace quillbay::dnssd {

void RecordHistory::add(int interface, int protocol, std::string_view data) {
    remove(interface, protocol, data);
    if (entries_.size() == maximumEntries) entries_.pop_front();
    entries_.push_back({interface, protocol, std::string(data)});
}

void RecordHistory::remove(int interface, int protocol, std::string_view data) {
    const auto found =
        std::find(entries_.begin(), entries_.end(), Entry{interface, protocol, std::string(data)});
    if (found != entries_.end()) entries_.erase(found);
}

}  // namespace quillbay::dnssd
