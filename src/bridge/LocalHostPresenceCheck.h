#pragma once

#include <chrono>
#include <string>

#include "platform/RandomSource.h"
#include "platform/StopToken.h"

namespace quillbay {

/// What came of asking the local network.
enum class PresenceAnswer {
    answered,
    /// Nobody answered in time, or the question was abandoned.
    silent,
    /// The name cannot be asked for, or this computer could not ask.
    couldNotAsk,
};

/// Asks whether a Bonjour host name answers on the local network right now, by one multicast DNS query (RFC
/// 6762) on every suitable interface. Keeps no state.
namespace LocalHostPresenceCheck {

/// Blocks its caller (a background thread) for at most `timeout`; a stop of `token` ends it at once with
/// false. Fails safe towards "present": true for a name that cannot be asked for, without a suitable
/// interface, and when nothing could be sent.
bool isHostCurrentlyPresent(const std::string& host, std::chrono::milliseconds timeout, RandomSource& random,
                            const StopToken& token);

/// The same question with its answer untouched. `name` may be any DNS name, the full one of a service
/// instance too. Blocks as `isHostCurrentlyPresent`.
PresenceAnswer ask(const std::string& name, std::chrono::milliseconds timeout, RandomSource& random,
                   const StopToken& token);

}  // namespace LocalHostPresenceCheck

}  // namespace quillbay
