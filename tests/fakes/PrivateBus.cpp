#include "fakes/PrivateBus.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>

#include "platform/ChildProcess.h"

namespace quillbay::fakes {

namespace {

/// The daemon prints its address as soon as it listens.
void waitForLine(int descriptor) {
    std::array<char, 512> buffer{};
    pollfd wait{descriptor, POLLIN, 0};
    constexpr int limitMilliseconds = 20'000;
    if (::poll(&wait, 1, limitMilliseconds) != 1 || ::read(descriptor, buffer.data(), buffer.size()) <= 0)
        throw std::runtime_error("the bus daemon did not start");
}

}  // namespace

PrivateBus::PrivateBus(const std::filesystem::path& folder, const std::string& activated)
    : address_("unix:path=" + (folder / "bus").string()) {
    const std::filesystem::path services = folder / "services";
    std::filesystem::create_directories(services);
    if (const std::size_t end = activated.find('='); end != std::string::npos)
        std::ofstream(services / "test.service") << "[D-BUS Service]\nName=" << activated.substr(0, end)
                                                 << "\nExec=" << activated.substr(end + 1) << "\n";
    const std::filesystem::path configuration = folder / "bus.conf";
    std::ofstream(configuration)
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig><type>session</type><listen>"
        << address_ << "</listen><auth>EXTERNAL</auth><servicedir>" << services.string()
        << "</servicedir><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
           "<allow eavesdrop=\"true\"/><allow own=\"*\"/>"
           "</policy></busconfig>\n";
    ChildCommand command;
    command.executable = "/usr/bin/dbus-daemon";
    command.arguments = {"--config-file=" + configuration.string(), "--nofork", "--print-address=1"};
    command.standardOutput = ChildCommand::Output::pipe;
    daemon_ = std::make_unique<ChildProcess>(ChildProcess::launch(command));
    const UniqueDescriptor output = daemon_->takeStandardOutput();
    waitForLine(output.get());
}

PrivateBus::~PrivateBus() {
    daemon_->terminateAndWait();
}

}  // namespace quillbay::fakes
