#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>

#include "discovery/ZoneDumpLine.h"

namespace quillbay {

/// The newest SRV and TXT record of each instance in a zone dump. The lines come from the network, so there
/// is a bound to what is kept: beyond it, the instances about which nothing was printed for longest are
/// forgotten. A phone's two lines come close together, so it is joined however many others there are.
class ZoneRecords {
 public:
    ZoneRecords() = default;
    ZoneRecords(const ZoneRecords&) = delete;
    ZoneRecords& operator=(const ZoneRecords&) = delete;

    /// Far more than any network has.
    static constexpr std::size_t maximumInstances = 10'000;
    /// Beside the number, the memory (as estimated): an instance with the longest line takes about 1 MiB.
    static constexpr std::size_t maximumBytes = std::size_t{32} * 1024 * 1024;

    void storeSRV(std::string_view recordName, ZoneDumpSRV srv);
    void storeTXT(std::string_view recordName, std::map<std::string, std::string> txt);

    /// Null when there is none. They hold until the next change.
    [[nodiscard]] const ZoneDumpSRV* srv(std::string_view recordName) const;
    [[nodiscard]] const std::map<std::string, std::string>* txt(std::string_view recordName) const;

    /// How many instances are kept.
    [[nodiscard]] std::size_t count() const { return ageByRecordName_.size(); }
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

    /// Whether an instance had to make room since the beginning or `clear`.
    [[nodiscard]] bool overflowed() const { return overflowed_; }

    void clear();

 private:
    using ByAge = std::list<std::string_view>;
    void touch(std::string_view recordName);
    void forget(std::string_view recordName);
    void makeRoom();

    std::map<std::string, ZoneDumpSRV, std::less<>> srvByRecordName_;
    std::map<std::string, std::map<std::string, std::string>, std::less<>> txtByRecordName_;
    /// Every instance with its place in `byAge_`, whose names are the keys here.
    std::map<std::string, ByAge::iterator, std::less<>> ageByRecordName_;
    ByAge byAge_;
    std::size_t bytes_ = 0;
    bool overflowed_ = false;
};

}  // namespace quillbay
