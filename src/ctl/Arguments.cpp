#include "ctl/Arguments.h"

#include <fmt/format.h>

#include <utility>

namespace quillbay::ctl {

namespace {

const std::set<std::string_view> flags{"--json", "--follow", "--help", "--version"};
const std::set<std::string_view> valued{"--peer", "--address", "--provider", "--name", "--to"};

}  // namespace

Arguments::Arguments(const std::vector<std::string>& arguments) {
    bool onlyWords = false;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        if (!onlyWords && argument == "--")
            onlyWords = true;
        else if (!onlyWords && argument.size() > 1 && argument.starts_with('-'))
            addOption(arguments, index);
        else
            words_.push_back(argument);
    }
}

void Arguments::addOption(const std::vector<std::string>& arguments, std::size_t& index) {
    const std::string& argument = arguments[index];
    const std::size_t equals = argument.find('=');
    const bool hasValue = equals != std::string::npos;
    const std::string option = argument == "-h" ? "--help" : argument.substr(0, equals);
    std::string value;
    if (flags.contains(option)) {
        if (hasValue) throw UsageRefusal(fmt::format("{} takes no value", option));
    } else if (valued.contains(option)) {
        if (!hasValue && index + 1 == arguments.size())
            throw UsageRefusal(fmt::format("{} needs a value", option));
        value = hasValue ? argument.substr(equals + 1) : arguments[++index];
    } else {
        throw UsageRefusal(fmt::format("there is no option {}", option));
    }
    if (!options_.emplace(option, std::move(value)).second)
        throw UsageRefusal(fmt::format("{} is given twice", option));
}

std::optional<std::string> Arguments::value(std::string_view option) const {
    const auto found = options_.find(option);
    if (found == options_.end()) return std::nullopt;
    return found->second;
}

std::string Arguments::required(std::string_view option) const {
    auto found = value(option);
    if (!found) throw UsageRefusal(fmt::format("{} needs {}", words_.at(0), option));
    return std::move(*found);
}

void Arguments::allow(const std::set<std::string_view>& options) const {
    for (const auto& [option, value] : options_)
        if (option != "--json" && !options.contains(option))
            throw UsageRefusal(fmt::format("{} takes no {}", words_.at(0), option));
}

void Arguments::expect(const std::vector<std::string_view>& names) const {
    const std::size_t given = words_.size() - 1;
    if (given < names.size()) throw UsageRefusal(fmt::format("{} needs {}", words_[0], names[given]));
    if (given > names.size())
        throw UsageRefusal(
            fmt::format("\"{}\" is one argument too many for {}", words_[names.size() + 1], words_[0]));
}

}  // namespace quillbay::ctl
