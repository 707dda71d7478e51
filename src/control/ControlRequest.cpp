#include "control/ControlRequest.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/JSONValue.h"
#include "platform/Text.h"

namespace quillbay {

namespace {

/// No request is nested, and none has more than a handful of arguments.
constexpr JSONLimits requestLimits{.depth = 4, .values = 64};

/// What a client wrote, for a sentence: nobody wants to read a long one back.
std::string echoed(std::string_view text) {
    constexpr std::size_t most = 64;
    const std::string shortened = firstCharacters(text, most);
    return "\"" + shortened + (shortened.size() < text.size() ? "…\"" : "\"");
}

/// The members of a request, read one by one by the type of its command.
class Arguments {
 public:
    Arguments(const JSONValue& request, const std::string& command) : request_(request), command_(command) {}

    /// Refuses arguments that the command does not have, before it is found to lack others.
    void allow(std::initializer_list<std::string_view> names) const {
        for (const JSONMember& member : request_.object("request")) {
            const bool known =
                member.name == "command" || std::find(names.begin(), names.end(), member.name) != names.end();
            if (!known)
                throw RefusedRequest(fmt::format("\"{}\" takes no {}.", command_, echoed(member.name)));
        }
    }

    [[nodiscard]] std::optional<std::string> optionalText(std::string_view name) const {
        const JSONValue* value = request_.member(name);
        if (value == nullptr) return std::nullopt;
        try {
            return value->string(name);
        } catch (const JSONError&) {
            throw RefusedRequest(fmt::format("The \"{}\" of \"{}\" must be text.", name, command_));
        }
    }

    [[nodiscard]] std::string text(std::string_view name) const {
        auto value = optionalText(name);
        if (!value) throw RefusedRequest(fmt::format("\"{}\" needs a \"{}\".", command_, name));
        return std::move(*value);
    }

    [[nodiscard]] std::optional<bool> optionalFlag(std::string_view name) const {
        const JSONValue* value = request_.member(name);
        if (value == nullptr) return std::nullopt;
        try {
            return value->boolean(name);
        } catch (const JSONError&) {
            throw RefusedRequest(fmt::format("The \"{}\" of \"{}\" must be true or false.", name, command_));
        }
    }

 private:
    const JSONValue& request_;
    const std::string& command_;
};

template <typename Command>
ControlRequest readPlain(const Arguments& arguments) {
    arguments.allow({});
    return Command{};
}

template <typename Command>
ControlRequest readForProfile(const Arguments& arguments) {
    arguments.allow({"profile"});
    return Command{arguments.text("profile")};
}

ControlRequest readPeers(const Arguments& arguments) {
    arguments.allow({"provider"});
    return control::Peers{arguments.text("provider")};
}

ControlRequest readPair(const Arguments& arguments) {
    arguments.allow({"host", "name", "provider", "peer", "address"});
    control::Pair pair{arguments.text("host"), arguments.text("name"), arguments.optionalText("provider"),
                       arguments.optionalText("peer"), arguments.optionalText("address")};
    if (pair.peer.has_value() == pair.address.has_value())
        throw RefusedRequest("\"pair\" needs either a \"peer\" or an \"address\".");
    if (pair.peer && !pair.provider) throw RefusedRequest("A \"peer\" needs its \"provider\".");
    return pair;
}

ControlRequest readRename(const Arguments& arguments) {
    arguments.allow({"profile", "name"});
    return control::Rename{arguments.text("profile"), arguments.text("name")};
}

ControlRequest readLog(const Arguments& arguments) {
    arguments.allow({"follow"});
    return control::Log{arguments.optionalFlag("follow").value_or(false)};
}

ControlRequest readReport(const Arguments& arguments) {
    arguments.allow({"to"});
    const std::string to = arguments.text("to");
    // The client's working directory is not this program's; and no path holds a zero byte.
    if (!to.starts_with('/') || to.find('\0') != std::string::npos)
        throw RefusedRequest("The \"to\" of \"report\" must be an absolute path.");
    return control::Report{to};
}

ControlRequest readSettings(const Arguments& arguments) {
    arguments.allow({"onlyThisComputer"});
    return control::Settings{arguments.optionalFlag("onlyThisComputer")};
}

ControlRequest readActivate(const Arguments& arguments) {
    arguments.allow({"token"});
    return control::Activate{arguments.optionalText("token")};
}

using Reader = ControlRequest (*)(const Arguments&);

constexpr std::array<std::pair<std::string_view, Reader>, std::variant_size_v<ControlRequest>> readers{{
    {"status", readPlain<control::Status>},
    {"phones", readPlain<control::Phones>},
    {"providers", readPlain<control::Providers>},
    {"peers", readPeers},
    {"pair", readPair},
    {"start", readForProfile<control::Start>},
    {"stop", readForProfile<control::Stop>},
    {"scan", readForProfile<control::Scan>},
    {"rename", readRename},
    {"remove", readForProfile<control::Remove>},
    {"log", readLog},
    {"report", readReport},
    {"settings", readSettings},
    {"activate", readActivate},
}};

std::string commandOf(const JSONValue& request) {
    const JSONValue* command = request.member("command");
    if (command == nullptr) throw RefusedRequest("The request has no \"command\".");
    try {
        return command->string("command");
    } catch (const JSONError&) {
        throw RefusedRequest("The \"command\" must be text.");
    }
}

JSONValue parsedObject(std::string_view line) {
    try {
        // The parser takes a zero byte after a document for the end of the text, whatever follows.
        if (line.find('\0') != std::string_view::npos) throw JSONError("a zero byte");
        JSONValue request = JSONValue::parse(line, requestLimits);
        static_cast<void>(request.object("request"));
        return request;
    } catch (const JSONError&) {
        throw RefusedRequest("The request is not a JSON object with a \"command\" and its arguments.");
    }
}

}  // namespace

ControlRequest parseControlRequest(std::string_view line) {
    const JSONValue request = parsedObject(line);
    const std::string command = commandOf(request);
    for (const auto& [name, read] : readers)
        if (name == command) return read(Arguments(request, command));
    throw RefusedRequest(fmt::format("There is no command {}.", echoed(command)));
}

}  // namespace quillbay
