#include "platform/PrintedError.h"

namespace quillbay {

std::string printedError(const std::exception& error) {
    const auto* system = dynamic_cast<const std::system_error*>(&error);
    if (system == nullptr) return error.what();
    const std::error_code& code = system->code();
    if (code.category() != std::generic_category() && code.category() != std::system_category())
        return error.what();
    return "POSIXErrorCode(rawValue: " + std::to_string(code.value()) +
           "): " + std::generic_category().message(code.value());
}

std::string printedError(const std::exception_ptr& error) {
    if (!error) return "unknown error";
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return printedError(known);
    } catch (...) {
        return "unknown error";
    }
}

std::system_error systemError(int code) {
    return {code, std::generic_category()};
}

}  // namespace quillbay
