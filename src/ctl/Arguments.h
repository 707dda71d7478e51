#pragma once

#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay::ctl {

/// A refusal on its way out of the reading of the arguments; `what()` has no full stop.
class UsageRefusal : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// The arguments, sorted into words and options. An option's value follows it or its "="; "--" ends the
/// options, for a name that begins with "-".
class Arguments {
 public:
    /// Throws UsageRefusal for an option that nobody knows, one that is given twice, one without its value
    /// and one with a value that it does not take.
    explicit Arguments(const std::vector<std::string>& arguments);

    /// The words in order; the first one is the command.
    [[nodiscard]] const std::vector<std::string>& words() const { return words_; }

    [[nodiscard]] bool has(std::string_view option) const { return options_.contains(option); }
    [[nodiscard]] std::optional<std::string> value(std::string_view option) const;
    /// Throws UsageRefusal when the option is not there.
    [[nodiscard]] std::string required(std::string_view option) const;

    /// Throws UsageRefusal when there is an option that is none of these.
    void allow(const std::set<std::string_view>& options) const;
    /// Throws UsageRefusal unless there are as many words after the command as there are names.
    void expect(const std::vector<std::string_view>& names) const;

 private:
    void addOption(const std::vector<std::string>& arguments, std::size_t& index);

    std::vector<std::string> words_;
    std::map<std::string, std::string, std::less<>> options_;
};

}  // namespace quillbay::ctl
