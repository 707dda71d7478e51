#include "platform/JSONValue.h"

#include <fmt/format.h>
#include <algorithm>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace quillbay {

/// Builds the tree from the parser's events, which come without recursion, and stops at the first limit.
class JSONBuilder final : public nlohmann::json_sax<nlohmann::json> {
 public:
    explicit JSONBuilder(const JSONLimits& limits) : limits_(limits) {}

    JSONValue takeRoot() { return std::move(root_); }

    bool null() override { return add({}); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return add(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t& /*digits*/) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*count*/) override { return open(JSONValue::Object()); }
    bool start_array(std::size_t /*count*/) override { return open(JSONValue::Array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        std::get<JSONValue::Object>(open_.back()->value_).push_back({std::move(name), {}});
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override {
        throw JSONError(fmt::format("the text is not valid JSON (at byte {})", position));
    }

 private:
    using Content = decltype(JSONValue::value_);

    bool add(Content content) {
        place(std::move(content));
        return true;
    }

    bool open(Content content) {
        if (open_.size() >= limits_.depth) {
            throw JSONError(fmt::format("the JSON is nested more than {} levels deep", limits_.depth));
        }
        open_.push_back(place(std::move(content)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    /// A pointer into the tree stays good while the value is open: its container does not grow meanwhile.
    JSONValue* place(Content content) {
        if (++count_ > limits_.values) {
            throw JSONError(fmt::format("the JSON holds more than {} values", limits_.values));
        }
        JSONValue* target = &root_;
        if (!open_.empty()) {
            Content& parent = open_.back()->value_;
            if (auto* array = std::get_if<JSONValue::Array>(&parent)) {
                target = &array->emplace_back();
            } else {
                target = &std::get<JSONValue::Object>(parent).back().value;
            }
        }
        target->value_ = std::move(content);
        return target;
    }

    JSONLimits limits_;
    JSONValue root_;
    std::vector<JSONValue*> open_;
    std::size_t count_ = 0;
};

namespace {

template <typename Wanted, typename Content>
const Wanted& read(const Content& content, std::string_view name, const char* kind) {
    if (const auto* value = std::get_if<Wanted>(&content)) return *value;
    throw JSONError(fmt::format("\"{}\" is not {}", name, kind));
}

}  // namespace

JSONValue::JSONValue() = default;
JSONValue::~JSONValue() = default;
JSONValue::JSONValue(JSONValue&& other) noexcept = default;
JSONValue& JSONValue::operator=(JSONValue&& other) noexcept = default;

JSONValue JSONValue::parse(std::string_view text, const JSONLimits& limits) {
    // The parser takes a zero byte for the end of the text, and would not look at what follows.
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
        throw JSONError(fmt::format("the text is not valid JSON (at byte {})", zero + 1));
    JSONBuilder builder(limits);
    nlohmann::json::sax_parse(text, &builder);
    return builder.takeRoot();
}

bool JSONValue::boolean(std::string_view name) const {
    return read<bool>(value_, name, "a boolean");
}

const std::string& JSONValue::string(std::string_view name) const {
    return read<std::string>(value_, name, "a string");
}

const std::vector<JSONValue>& JSONValue::array(std::string_view name) const {
    return read<Array>(value_, name, "an array");
}

const std::vector<JSONMember>& JSONValue::object(std::string_view name) const {
    return read<Object>(value_, name, "an object");
}

std::uint16_t JSONValue::uint16(std::string_view name) const {
    const double number = read<double>(value_, name, "a number");
    if (number < 0 || number > std::numeric_limits<std::uint16_t>::max() || number != std::floor(number)) {
        throw JSONError(fmt::format("\"{}\" is not an integer from 0 to 65535", name));
    }
    return static_cast<std::uint16_t>(number);
}

const JSONValue* JSONValue::lastMember(std::string_view name) const {
    const auto* members = std::get_if<Object>(&value_);
    if (members == nullptr) throw JSONError(fmt::format("what should hold \"{}\" is not an object", name));
    const auto found = std::find_if(members->rbegin(), members->rend(),
                                    [name](const auto& member) { return member.name == name; });
    return found == members->rend() ? nullptr : &found->value;
}

const JSONValue* JSONValue::member(std::string_view name) const {
    const JSONValue* value = lastMember(name);
    return value == nullptr || std::holds_alternative<std::monostate>(value->value_) ? nullptr : value;
}

const JSONValue& JSONValue::requiredMember(std::string_view name) const {
    if (const JSONValue* value = lastMember(name)) return *value;
    throw JSONError(fmt::format("\"{}\" is missing", name));
}

}  // namespace quillbay
