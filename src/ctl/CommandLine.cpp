#include "ctl/CommandLine.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "ctl/Arguments.h"
#include "platform/Utf8.h"

namespace quillbay::ctl {

const std::string_view usageText =
    R"(usage: quillbayctl [--json] COMMAND

  status                                 the paired phones and their bridges
  phones                                 the phones on the local network
  providers                              the mesh VPNs
  peers PROVIDER                         the devices that a mesh VPN lists
  pair HOST --peer PROVIDER:NAME --name NAME
  pair HOST --address IP [--provider ID] --name NAME
                                         remember a phone, and how it is reached when it is away
  start PHONE                            switch the phone's bridge on
  stop PHONE                             switch it off
  scan PHONE                             look for the phone's port
  rename PHONE NAME                      give it another name
  remove PHONE                           forget it
  log [--follow]                         what has happened; --follow: and what happens
  report --to FILE.zip                   write the diagnostics report
  settings                               who may use the bridge, and how often others were refused
  settings only-this-computer on|off     whether only this computer may use the bridge

HOST is a phone's host or name as in "phones", PHONE a paired one's name, host or id as in "status".

  --json     print the answers as JSON, one per line
  --help     print this
  --version  print the version

Exit status: 0 done, 1 refused (the reason is on standard error), 2 wrong usage, 3 nothing is running,
130 ended by Ctrl-C.
)";

namespace {

using Document = nlohmann::ordered_json;
using Words = std::vector<std::string_view>;

Document plain(const Arguments& arguments) {
    arguments.allow({});
    arguments.expect({});
    return {};
}

Document peers(const Arguments& arguments) {
    arguments.allow({});
    arguments.expect({"PROVIDER"});
    return {{"provider", arguments.words()[1]}};
}

Document forProfile(const Arguments& arguments) {
    arguments.allow({});
    arguments.expect({"PHONE"});
    return {{"profile", arguments.words()[1]}};
}

Document rename(const Arguments& arguments) {
    arguments.allow({});
    arguments.expect({"PHONE", "NAME"});
    return {{"profile", arguments.words()[1]}, {"name", arguments.words()[2]}};
}

Document log(const Arguments& arguments) {
    arguments.allow({"--follow"});
    arguments.expect({});
    return {{"follow", arguments.has("--follow")}};
}

Document report(const Arguments& arguments) {
    arguments.allow({"--to"});
    arguments.expect({});
    const std::string to = arguments.required("--to");
    if (to.empty()) throw UsageRefusal("--to needs the name of a file");
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(to, error).lexically_normal();
    if (error)
        throw UsageRefusal("--to needs an absolute path: this folder has no name (" + error.message() + ")");
    // A name that is changed on its way would be another file's.
    if (!isValidUtf8(path.native())) throw UsageRefusal("--to needs a path that is UTF-8");
    return {{"to", path.native()}};
}

Document settings(const Arguments& arguments) {
    arguments.allow({});
    if (arguments.words().size() == 1) return {};
    arguments.expect({"only-this-computer", "on or off"});
    const std::string& name = arguments.words()[1];
    const std::string& value = arguments.words()[2];
    if (name != "only-this-computer") throw UsageRefusal(fmt::format("there is no setting \"{}\"", name));
    if (value != "on" && value != "off")
        throw UsageRefusal(fmt::format("{} is on or off, not \"{}\"", name, value));
    return {{"onlyThisComputer", value == "on"}};
}

/// PROVIDER:NAME. A provider's id has no colon, a name may have one.
Document peerOf(const std::string& peer) {
    const std::size_t colon = peer.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == peer.size())
        throw UsageRefusal(fmt::format("--peer needs PROVIDER:NAME, not \"{}\"", peer));
    return {{"provider", peer.substr(0, colon)}, {"peer", peer.substr(colon + 1)}};
}

Document pair(const Arguments& arguments) {
    arguments.allow({"--peer", "--address", "--provider", "--name"});
    arguments.expect({"HOST"});
    const auto peer = arguments.value("--peer");
    const auto address = arguments.value("--address");
    const auto provider = arguments.value("--provider");
    if (peer && address) throw UsageRefusal("pair takes --peer or --address, not both");
    if (!peer && !address) throw UsageRefusal("pair needs --peer or --address");
    if (peer && provider)
        throw UsageRefusal("--provider goes with --address; --peer names the provider itself");
    Document document{{"host", arguments.words()[1]}, {"name", arguments.required("--name")}};
    if (peer) {
        document.update(peerOf(*peer));
    } else {
        document["address"] = *address;
        if (provider) document["provider"] = *provider;
    }
    return document;
}

using Reader = Document (*)(const Arguments&);

constexpr std::array<std::pair<std::string_view, Reader>, 13> readers{{
    {"status", plain},
    {"phones", plain},
    {"providers", plain},
    {"peers", peers},
    {"pair", pair},
    {"start", forProfile},
    {"stop", forProfile},
    {"scan", forProfile},
    {"rename", rename},
    {"remove", forProfile},
    {"log", log},
    {"report", report},
    {"settings", settings},
}};

CommandLine commandOf(const Arguments& arguments) {
    const std::string& command = arguments.words()[0];
    for (const auto& [name, read] : readers) {
        if (name != command) continue;
        Document request{{"command", command}};
        const Document details = read(arguments);
        if (!details.is_null()) request.update(details);
        constexpr int noIndent = -1;
        // What a terminal passes is bytes; the protocol's texts are UTF-8.
        return Ask{command, request.dump(noIndent, ' ', false, Document::error_handler_t::replace),
                   arguments.has("--json")};
    }
    throw UsageRefusal(fmt::format("there is no command \"{}\"", command));
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    try {
        const Arguments arguments(words);
        if (arguments.has("--help")) return PrintHelp{};
        if (arguments.has("--version")) return PrintVersion{};
        if (arguments.words().empty()) return UsageError{};
        return commandOf(arguments);
    } catch (const UsageRefusal& refusal) {
        return UsageError{refusal.what()};
    }
}

}  // namespace quillbay::ctl
