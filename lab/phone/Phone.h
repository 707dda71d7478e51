#pragma once

#include <boost/asio/io_context.hpp>
#include <memory>
#include <optional>
#include <string>

#include "phone/Announcement.h"
#include "phone/CommandInput.h"
#include "phone/ModeGate.h"
#include "phone/PairingServer.h"
#include "phone/PhoneCommand.h"
#include "phone/PhoneOptions.h"
#include "phone/TunnelServer.h"

namespace quillbay::lab {

/// The simulated phone: its ports, its record and what it is told. Everything runs on the loop it is given,
/// which must be run by one thread; it prints what happens as JSON lines.
class Phone {
 public:
    /// Opens the ports, announces the record and begins to read commands. Throws what its parts throw.
    Phone(boost::asio::io_context& context, const PhoneOptions& options);

 private:
    /// The JSON line with which a control line is answered.
    std::string answer(const std::string& line);
    void obey(const PhoneCommand& command);
    void setMode(PhoneMode mode);
    void announce();

    boost::asio::io_context& context_;
    ModeGate gate_;
    PairingServer pairing_;
    TunnelServer tunnels_;
    std::optional<Announcement> announcement_;
    bool announced_ = false;
    std::optional<CommandInput> input_;
};

}  // namespace quillbay::lab
