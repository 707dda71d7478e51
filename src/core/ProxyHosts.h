#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

namespace quillbay {

/// The host names under which this computer's own proxy records are announced now. The bridges tell it on the
/// main thread; the capture asks on its queue. All members may be called on any thread.
class ProxyHosts {
 public:
    /// `owner` (a profile's id) announces `host` from now on.
    void insert(const std::string& owner, const std::string& host);
    /// `owner` announces nothing any more.
    void remove(const std::string& owner);

    /// In lower case.
    [[nodiscard]] std::set<std::string> all() const;

 private:
    mutable std::mutex mutex_;
    std::map<std::string, std::string> hostByOwner_;
};

}  // namespace quillbay
