#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay {

// The lines that `dns-sd -Z` prints, one for each resource record (RFC 6763, chapters 4 and 6; the fields in
// the order of RFC 2782), in columns of blanks:
//
//     _remotepairing._tcp            PTR     NAME._remotepairing._tcp
//     NAME._remotepairing._tcp       SRV     0 0 49152 HOST. ; Replace with unicast FQDN of target host
//     NAME._remotepairing._tcp       TXT     "KEY=VALUE" "KEY=VALUE"
//
// A blank, a dot or a control character within a name is printed as a backslash sequence, so a name is always
// one word. A string of a TXT record is printed with its blanks. The functions may be called on any thread.

/// A line about one instance of a service, cut at its blanks. All of it points into the line.
struct ZoneDumpLine {
    /// The instance, without the service type.
    std::string_view recordName;
    /// "SRV", "TXT" …
    std::string_view kind;
    /// All words of the line, the name and the kind included.
    std::vector<std::string_view> tokens;
};

/// Nothing for a line that is not about an instance of `serviceType`: headers, comments, PTR lines.
std::optional<ZoneDumpLine> parseZoneDumpLine(std::string_view line, std::string_view serviceType);

/// Where an instance is served.
struct ZoneDumpSRV {
    /// As printed, without one final dot.
    std::string host;
    std::uint16_t port = 0;

    bool operator==(const ZoneDumpSRV&) const = default;
};

/// The words of an SRV line; nothing when there are too few, the port is no decimal 16-bit number (it may
/// have a "+") or the host is empty.
std::optional<ZoneDumpSRV> parseSRV(const std::vector<std::string_view>& tokens);

/// The words of a TXT line, each a string "KEY=VALUE" in quotes; of two with one key, the later one counts,
/// and what has no "=" is left out. A string with blanks comes in several words, each of them read for
/// itself. Backslash sequences stay as they are printed.
std::map<std::string, std::string> parseTXT(const std::vector<std::string_view>& tokens);

/// False for an address, with or without its scope ("%en0"), where a device has its host name.
bool looksLikeHostname(const std::string& host);

}  // namespace quillbay
