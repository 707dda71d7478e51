#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillbay {

/// Why a document could not be read: not JSON, beyond the limits, or not of the expected form.
class JSONError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// How large a document from outside may get before it is refused.
struct JSONLimits {
    /// No document that this system reads is nested more than ten levels deep.
    std::size_t depth = 64;
    /// Values of all kinds together. A value takes some 50 bytes, so this also bounds the memory.
    std::size_t values = 2'000'000;
};

struct JSONMember;

/// A JSON document (RFC 8259) from outside, read strictly: exact types, members in the document's order,
/// UTF-8 only.
///
/// The readers throw JSONError when the value is of another kind; `name` is how the error's text calls the
/// value. A member that occurs twice counts with its last value.
class JSONValue {
 public:
    JSONValue();
    ~JSONValue();
    JSONValue(JSONValue&& other) noexcept;
    JSONValue& operator=(JSONValue&& other) noexcept;

    /// Throws JSONError. Deep nesting costs no stack.
    static JSONValue parse(std::string_view text, const JSONLimits& limits = {});

    [[nodiscard]] bool boolean(std::string_view name) const;
    [[nodiscard]] const std::string& string(std::string_view name) const;
    [[nodiscard]] const std::vector<JSONValue>& array(std::string_view name) const;
    [[nodiscard]] const std::vector<JSONMember>& object(std::string_view name) const;

    /// A number of any notation whose value is an integer from 0 to 65535.
    [[nodiscard]] std::uint16_t uint16(std::string_view name) const;

    /// A member of this object; nullptr when it is absent or null.
    [[nodiscard]] const JSONValue* member(std::string_view name) const;

    /// A member of this object; JSONError when it is absent. (A null one is no value of any kind that can be
    /// read.)
    [[nodiscard]] const JSONValue& requiredMember(std::string_view name) const;

 private:
    friend class JSONBuilder;
    using Array = std::vector<JSONValue>;
    using Object = std::vector<JSONMember>;
    [[nodiscard]] const JSONValue* lastMember(std::string_view name) const;
    std::variant<std::monostate, bool, double, std::string, Array, Object> value_;
};

struct JSONMember {
    std::string name;
    JSONValue value;
};

}  // namespace quillbay
