#pragma once

#include <exception>
#include <string>
#include <system_error>

namespace quillbay {

/// The text by which an error appears inside a log line or a state: a system error as
/// "POSIXErrorCode(rawValue: 98): Address already in use", any other as its `what()`.
std::string printedError(const std::exception& error);

/// The same for a held exception; "unknown error" for what is no std::exception.
std::string printedError(const std::exception_ptr& error);

/// A system error number as an exception that `printedError` prints in the system's form.
std::system_error systemError(int code);

}  // namespace quillbay
