#pragma once

#include <string>

namespace quillbay {

// What the system says about itself, for people to read. Never empty, never fails. May be called on any
// thread.

/// The operating system and its version, such as "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64" or
/// "Version 13.6.1 (Build 22G313)".
std::string operatingSystemVersion();

/// The name that the user has given to the computer.
std::string computerName();

}  // namespace quillbay
