#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dns-sd/SRVRecord.h"

/// The printed form of a zone dump: one line per record, each "name, kind, data" in columns separated by
/// blanks.
///
/// Names and strings come from the network and may hold any byte. What is printed is always valid UTF-8 and
/// holds no control character and no line break of any kind but the line feeds that end the lines.
namespace quillbay::dnssd::ZoneText {

/// One label of a name: `\.` and `\\` for the two characters that names give a meaning to, `\DDD` (three
/// decimal digits) for blanks, control characters and bytes that are not UTF-8, everything else as it is.
std::string escapedLabel(std::string_view label);

/// A whole name with a dot after each label; "." for the root.
std::string escapedName(const std::vector<std::string>& labels);

/// One string of a TXT record in double quotes: `\"` and `\\`, `\DDD` for control characters and bytes that
/// are not UTF-8, everything else, blanks too, as it is.
std::string quotedString(std::string_view string);

/// The PTR, SRV and TXT line of one instance, in this order, each with its line feed.
std::string instanceLines(std::string_view serviceType, std::string_view instanceName,
                          const SRVRecord& service, const std::vector<std::string>& strings);

}  // namespace quillbay::dnssd::ZoneText
