#include "phone/Phone.h"

#include <boost/asio/post.hpp>
#include <nlohmann/json.hpp>
#include <utility>

#include "phone/StatusLines.h"

namespace quillbay::lab {

Phone::Phone(boost::asio::io_context& context, const PhoneOptions& options)
    : context_(context),
      gate_(context),
      pairing_(context, gate_, options.serveAddress),
      tunnels_(context, gate_, options.serveAddress) {
    pairing_.listen(options.pairingPort);
    for (const auto port : options.tunnelPorts)
        tunnels_.open(port);
    if (!options.interface.empty()) {
        const auto tell = [&loop = context_](std::string event, std::string detail) {
            boost::asio::post(loop, [event = std::move(event), detail = std::move(detail)] {
                printStatus({{"event", event}, {"detail", detail}});
            });
        };
        announcement_.emplace(Announcement::Record{options.name, options.host, options.interface,
                                                   options.localAddress, options.txt},
                              tell);
        announce();
    }
    input_.emplace(context_, options.control, [this](const std::string& line) { return answer(line); });
    printStatus({{"event", "ready"}, {"port", pairing_.port()}, {"tunnelPorts", options.tunnelPorts.size()}});
}

std::string Phone::answer(const std::string& line) {
    nlohmann::json document = {{"event", "answer"}, {"command", line}, {"ok", true}};
    try {
        const auto command = parsePhoneCommand(line);
        if (!command) throw OptionError("no command");
        obey(*command);
    } catch (const std::exception& error) {
        document["ok"] = false;
        document["error"] = error.what();
    }
    document["port"] = pairing_.port();
    return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void Phone::obey(const PhoneCommand& command) {
    switch (command.verb) {
        case PhoneCommand::Verb::move:
            pairing_.listen(command.port);
            if (gate_.mode() == PhoneMode::refuse) pairing_.close();
            if (announced_) announce();
            break;
        case PhoneCommand::Verb::tunnel:
            tunnels_.open(command.port);
            break;
        case PhoneCommand::Verb::mode:
            setMode(command.mode);
            break;
        case PhoneCommand::Verb::announce:
            if (!announcement_) throw OptionError("no interface to announce on");
            announce();
            break;
        case PhoneCommand::Verb::withdraw:
            if (announcement_) announcement_->withdraw();
            announced_ = false;
            break;
        case PhoneCommand::Verb::quit:
            // After the answer to this line has gone out.
            boost::asio::post(context_, [&loop = context_] { loop.stop(); });
            break;
    }
}

void Phone::setMode(PhoneMode mode) {
    const auto before = gate_.mode();
    gate_.set(mode);
    if (mode == PhoneMode::refuse) pairing_.close();
    if (before == PhoneMode::refuse && mode != PhoneMode::refuse) pairing_.listen(pairing_.port());
}

void Phone::announce() {
    announcement_->publish(pairing_.port());
    announced_ = true;
}

}  // namespace quillbay::lab
