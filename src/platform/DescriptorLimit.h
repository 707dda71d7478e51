#pragma once

#include <sys/resource.h>

namespace quillbay {

/// Raises the soft limit on open descriptors to the hard one: the full range of relays needs more than the
/// usual 1,024. Remembers the old one for the children. Called once, first thing in `main`; a refusal leaves
/// the limit as it is. Returns the soft limit that now holds.
rlim_t raiseDescriptorLimit();

/// The soft limit as it was last seen: asking the system at each of thousands of sockets would cost a call
/// each. Any thread.
rlim_t knownDescriptorLimit();

/// Asks the system for the soft limit, and knows it from then on. Any thread.
rlim_t refreshDescriptorLimit();

/// The limits that this process was started with: the ones that children get.
rlimit originalDescriptorLimit();

}  // namespace quillbay
