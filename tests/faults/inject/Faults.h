#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Functions.h"

namespace quillbay::faults {

/// Counts a call of this function and says how it is to fail: 0 when it is not.
int faultOf(std::size_t function) noexcept;

/// What to add to the time of day, in nanoseconds.
std::int64_t clockShift() noexcept;

/// To be called by the child, after a fork.
void nowInForkedChild() noexcept;

/// The C library's own function of that name.
void* realFunction(std::size_t function, const char* name) noexcept;

/// A text as a template argument.
template <std::size_t size>
struct Name {
    std::array<char, size> text{};
    consteval Name(const char (&literal)[size]) { std::copy_n(literal, size, text.begin()); }
    [[nodiscard]] constexpr std::string_view view() const { return {text.data(), size - 1}; }
};

/// Calls the C library's function. `symbol` differs from `name` for another form of the same function, such
/// as the one that the compiler puts in when it knows the buffer's size.
template <Name name, typename Result, typename... Arguments>
Result callReal(Arguments... arguments) {
    using Function = Result (*)(Arguments...);
    return reinterpret_cast<Function>(realFunction(functionIndex(name.view()), name.text.data()))(
        arguments...);
}

/// A function that says by its result `failed` and by errno that it failed.
template <Name name, typename Result, typename... Arguments>
Result callOrFail(Result failed, Arguments... arguments) {
    if (const int code = faultOf(functionIndex(name.view())); code != 0) {
        errno = code;
        return failed;
    }
    return callReal<name, Result>(arguments...);
}

/// A function that returns its error code.
template <Name name, typename... Arguments>
int callOrReturnCode(Arguments... arguments) {
    if (const int code = faultOf(functionIndex(name.view())); code != 0) return code;
    return callReal<name, int>(arguments...);
}

}  // namespace quillbay::faults
