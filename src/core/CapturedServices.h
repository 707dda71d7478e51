#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "core/DeviceNames.h"
#include "discovery/CapturedBonjourService.h"

namespace quillbay {

/// The phones that are on the local network now, one per host, sorted by host. Bounded, because anybody on
/// the network can announce phones: beyond the bound, a record for which there is no room does not get in.
///
/// A phone that has fallen silent goes off the list and is missing for a while. A daemon that still remembers
/// its record does not report it anew when the phone comes back: then only asking brings it back to the list.
class CapturedServices {
 public:
    static constexpr std::size_t maxServices = 10'000;
    /// Beside the number, the memory that they take (as estimated), the missing ones not counted: they may
    /// take as much again.
    static constexpr std::size_t maxBytes = std::size_t{32} * 1024 * 1024;

    /// The memory that a service takes, roughly.
    static std::size_t cost(const CapturedBonjourService& service);

    [[nodiscard]] const std::vector<CapturedBonjourService>& sorted() const { return sorted_; }

    /// In no order; none of them is in `sorted`.
    [[nodiscard]] const std::vector<CapturedBonjourService>& missing() const { return missing_; }

    /// Takes each of `services`, in place of an earlier one with its host; of two with one host, the later
    /// one counts. Each gets the name that is known for it, and keeps the one that its predecessor had.
    void upsert(std::vector<CapturedBonjourService> services, const DeviceNames& names);

    /// There was a sign of this host at `time`; a missing one is in the list again. False when it is neither
    /// in the list nor missing.
    bool markSeen(const std::string& host, std::chrono::system_clock::time_point time);

    /// Keeps only those that were last seen after `cutoff`, and the others as missing ones; false when that
    /// is all of them.
    bool keepSeenAfter(std::chrono::system_clock::time_point cutoff);

    /// Forgets the missing ones that were not seen after `cutoff`.
    void forgetMissing(std::chrono::system_clock::time_point cutoff);

    /// Gives each the name that is known for it now.
    void applyNames(const DeviceNames& names);

    /// Moves the times by `step`, which passed unnoticed before `now` or by which the clock was set back. Of
    /// those that were read from it since, none comes to lie in the future.
    void shiftTimes(std::chrono::system_clock::duration step, std::chrono::system_clock::time_point now);

 private:
    /// Where the service with this host stands, or would stand.
    [[nodiscard]] std::vector<CapturedBonjourService>::iterator place(const std::string& host);
    [[nodiscard]] CapturedBonjourService* find(const std::string& host);
    /// Takes services whose hosts are not in the list, by host.
    void insert(std::map<std::string, CapturedBonjourService> added);
    std::vector<CapturedBonjourService> sorted_;
    std::size_t sortedBytes_ = 0;
    std::vector<CapturedBonjourService> missing_;
};

}  // namespace quillbay
