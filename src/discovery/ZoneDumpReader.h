#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/CapturedBonjourService.h"
#include "discovery/ZoneRecords.h"
#include "platform/LineBuffer.h"

namespace quillbay {

/// Reads what `dns-sd -Z` prints: text in; services and lines for the log out. It joins the records of each
/// instance and leaves out what is no real device. Knows no process and no queue.
///
/// Whatever the text, what it keeps is bounded: an unfinished line by `LineBuffer` (a line above 64 KiB is
/// dropped whole), the records by `ZoneRecords`, the messages by `maximumRejections`.
class ZoneDumpReader {
 public:
    /// The hosts, in lower case, of this computer's own proxy registrations.
    using ProxyHosts = std::function<std::set<std::string>()>;

    struct Output {
        /// Each instance of which the text completed a line, once, as it is after all of the text; in the
        /// order of their last lines.
        std::vector<CapturedBonjourService> services;
        std::vector<std::string> logLines;
    };

    ZoneDumpReader(std::string serviceType, std::string domain);

    /// Takes the next piece of the dump, cut anywhere; `now` is what the services get as `lastSeen`.
    /// `activeProxyHosts` may be empty, and is asked at most once.
    Output consume(std::string_view chunk, std::chrono::system_clock::time_point now,
                   const ProxyHosts& activeProxyHosts);

    /// A new dump begins, which prints everything anew. What was said in the log is not said again.
    void beginAnew();

    [[nodiscard]] const ZoneRecords& records() const { return records_; }

    /// How many different messages about records are said; after them, one that no more will be.
    static constexpr std::size_t maximumRejections = 1'000;
    /// A DNS name has at most 255 bytes, each of which is printed in at most 4 characters: a longer word is
    /// none, and its line is ignored.
    static constexpr std::size_t maximumNameBytes = std::size_t{255} * 4;

 private:
    /// The record name that the line has changed, if it has.
    std::optional<std::string> read(std::string_view line);
    std::optional<CapturedBonjourService> emit(const std::string& recordName,
                                               const std::set<std::string>& activeProxyHosts,
                                               std::vector<std::string>& logLines);
    void logRejection(const std::string& recordName, const std::string& reason,
                      std::vector<std::string>& logLines);
    void logOnce(const std::string& message, std::vector<std::string>& logLines);

    std::string currentServiceType_;
    std::string currentDomain_;
    LineBuffer readBuffer_;
    ZoneRecords records_;
    std::set<std::string> loggedRejections_;
    bool overflowLogged_ = false;
};

}  // namespace quillbay
