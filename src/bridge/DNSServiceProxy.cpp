#include "bridge/DNSServiceProxy.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <string_view>
#include <utility>

#include "bridge/ProcessList.h"
#include "platform/PrintedError.h"
#include "platform/StopToken.h"

namespace quillbay {

namespace {

/// Thousands of processes with long command lines are well below this.
constexpr std::size_t processListLimitBytes = std::size_t{32} * 1024 * 1024;

/// It takes some hundredths of a second. One that takes longer hangs; the clean-up is best effort, and the
/// main queue waits.
constexpr std::chrono::seconds processListTimeLimit{2};

std::string processList(const HostTools::Tool& ps) {
    ChildCommand command{ps.executable, ps.leadingArguments, ChildCommand::Output::pipe,
                         ChildCommand::Output::null, ps.environment};
    command.arguments.insert(command.arguments.end(), {"-axo", "pid=,command="});
    try {
        auto result = runToEnd(command, processListLimitBytes, StopToken(), processListTimeLimit);
        if (!result) return {};
        std::string list = std::move(result->standardOutput);
        // A line that was cut off may name less than it does.
        if (result->truncated) list.resize(list.rfind('\n') + 1);
        return list;
    } catch (const std::exception&) {
        // Without a list nothing is cleaned up: best effort, which must not keep its caller from going on.
        return {};
    }
}

/// Asks every proxy registration whose line in the process list `matches` to end, and returns their ids.
std::vector<std::int32_t> killMatchingProxyProcesses(const HostTools& tools,
                                                     const std::function<bool(std::string_view)>& matches) {
    const auto ids = ProcessList::proxyRegistrations(processList(tools.ps), matches);
    // One that is gone by now, or that belongs to somebody else, is none of our business.
    for (const std::int32_t id : ids)
        static_cast<void>(::kill(id, SIGTERM));
    return ids;
}

}  // namespace

DNSServiceProxy::ProxyError::ProxyError(Kind kind, std::exception_ptr underlying, const std::string& text)
    : std::runtime_error(text), kind_(kind), underlying_(std::move(underlying)) {}

DNSServiceProxy::ProxyError DNSServiceProxy::ProxyError::processLaunchFailed(std::exception_ptr underlying) {
    const std::string text = "processLaunchFailed(" + printedError(underlying) + ")";
    return {Kind::processLaunchFailed, std::move(underlying), text};
}

DNSServiceProxy::ProxyError DNSServiceProxy::ProxyError::notRunning() {
    return {Kind::notRunning, nullptr, "notRunning"};
}

DNSServiceProxy::DNSServiceProxy(HostTools tools) : tools_(std::move(tools)) {}

DNSServiceProxy::~DNSServiceProxy() {
    stop();
}

void DNSServiceProxy::start(const Registration& registration) {
    stop();
    killOrphanedRegistrations(tools_, registration.instanceName);
    ChildCommand command{tools_.dnsSD.executable, tools_.dnsSD.leadingArguments};
    for (std::string& argument : arguments(registration))
        command.arguments.push_back(std::move(argument));
    try {
        process_ = ChildProcess::launch(command);
    } catch (const std::exception&) {
        throw ProxyError::processLaunchFailed(std::current_exception());
    }
}

void DNSServiceProxy::stop() {
    if (process_ && process_->isRunning()) process_->terminateAndWait();
    process_.reset();
}

std::vector<std::string> DNSServiceProxy::arguments(const Registration& registration) {
    // The registration is always made on the local network, whatever domain the service was captured in.
    std::vector<std::string> all{"-i",
                                 registration.interfaceName,
                                 "-P",
                                 registration.instanceName,
                                 registration.serviceType,
                                 "local",
                                 std::to_string(registration.port),
                                 registration.host,
                                 registration.address};
    for (const auto& [key, value] : registration.txtRecord)
        all.push_back(key + "=" + value);
    return all;
}

void DNSServiceProxy::killAllOrphanedProxyProcesses(const HostTools& tools,
                                                    const std::function<void(const std::string&)>& onLog) {
    const auto ids = killMatchingProxyProcesses(tools, [](std::string_view) { return true; });
    if (!ids.empty() && onLog) onLog(ProcessList::clearedMessage(ids));
}

void DNSServiceProxy::killOrphanedRegistrations(const HostTools& tools, const std::string& instanceName) {
    killMatchingProxyProcesses(
        tools, [&](std::string_view line) { return line.find(instanceName) != std::string_view::npos; });
}

}  // namespace quillbay
