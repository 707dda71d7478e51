#pragma once

#include <sys/resource.h>

namespace quillbay {

/// Raises the soft limit on open descriptors to the hard one: the full range of relays needs more than the
/// usual 1,024. Remembers the old one for the children. Called once, first thing in `main`; a refusal leaves
/// the limit as it is. Returns the soft limit that now holds.
rlim_t raiseDescriptorLimit();

/// The limits that this process was started with: the ones that children get.
rlimit originalDescriptorLimit();

}  // namespace quillbay
