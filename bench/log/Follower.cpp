// The system log's follower: the child that prints, and those who read it.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "bridge/ProxyBridge.h"
#include "bridge/TunnelPortWatcher.h"
#include "core/AppLogStore.h"
#include "fakes/FakePhone.h"
#include "fakes/TestHost.h"
#include "log/LogProcess.h"
#include "log/MainTurns.h"

namespace quillbay::bench {

namespace {

constexpr std::size_t bytesPerWrite = std::size_t{64} * 1024;

void writeWhole(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (count <= 0) throw std::runtime_error("nobody reads");
        done += static_cast<std::size_t>(count);
    }
}

HostTools::Tool printer(int count) {
    return {ownProgram(), {"print", std::to_string(count)}};
}

DeviceProfile profileOf(const std::string& address, std::uint16_t port) {
    DeviceProfile profile = DeviceProfile::draft("Phone");
    profile.bonjourName = "Instance";
    profile.bonjourHost = "iphone.local";
    profile.providerIP = address;
    profile.remotePairingPort = port;
    profile.tunnelPortRangeStart = rangePort;
    profile.tunnelPortRangeEnd = rangePort;
    return profile;
}

}  // namespace

std::string followerLine(int port) {
    return fmt::format(
        "2026-11-20 10:30:12.345678+0000 0x1f3a Default 0x0 412 0 remotepairingd: [network] Got tunnel "
        "endpoint: 'fd7a:115c:a1e0:ab12:4843:cd96:6258:b240:{}'\n",
        port);
}

int printLines(int count) {
    const std::string usual = followerLine(rangePort);
    std::string text;
    for (int number = 1; number <= count; ++number) {
        const bool own = number % linesPerOwnPort == 0;
        text += own ? followerLine(firstOwnPort + number / linesPerOwnPort) : usual;
        if (text.size() < bytesPerWrite) continue;
        writeWhole(text);
        text.clear();
    }
    writeWhole(text);
    return 0;
}

int watchFollower(int count) {
    NetworkThreads network;
    HostTools tools;
    tools.logFollower = printer(count);
    std::mutex mutex;
    std::condition_variable changed;
    int seen = 0;
    TunnelPortWatcher watcher(tools, network);
    watcher.onPort = [&](std::uint16_t) {
        const std::lock_guard lock(mutex);
        if (++seen == count) changed.notify_all();
    };
    const Stopwatch time;
    watcher.start();
    std::unique_lock lock(mutex);
    if (!changed.wait_for(lock, std::chrono::seconds(60), [&] { return seen == count; }))
        throw std::runtime_error(fmt::format("{} of {} lines were seen", seen, count));
    report(count, time.seconds());
    lock.unlock();
    watcher.stop();
    return 0;
}

int followInBridge(int count) {
    fakes::TestHost world;
    fakes::FakePhone phone(world.phoneIP, fakes::FakePhone::Manner::answers);
    world.tools.setTunnelStates("iphone.coredevice.local", {"unavailable"});
    Host host = world.host;
    host.tools.logFollower = printer(count);
    AppLogStore logs(host.files, host.clock);
    const auto bridge = ProxyBridge::make(
        host, profileOf(world.phoneIP, phone.port()), [&world] { return world.address(); },
        [](const std::string&, std::chrono::milliseconds, const StopToken&) { return false; });
    std::vector<std::string> discovered;
    bridge->onLog = [&](const std::string& line) {
        logs.diagnostic(line);
        if (line.find("live tunnel port") != std::string::npos) discovered.push_back(line);
    };
    bridge->start(false);
    MainTurns turns(world.mainQueue.context());
    turns.runUntil([&] { return bridge->state() != ProxyBridgeState::pairing(); });
    if (bridge->state() != ProxyBridgeState::active()) throw std::runtime_error(bridge->state().message);

    // The follower was started in the turn that made the bridge active.
    const Stopwatch time;
    turns.forget();
    const auto ownPorts = static_cast<std::size_t>(count / linesPerOwnPort);
    turns.runUntil([&] { return discovered.size() == ownPorts; });
    report(count, time.seconds(), time.threadSeconds(), turns.longestSeconds());
    for (std::size_t i = 0; i < ownPorts; ++i) {
        const auto port = static_cast<std::size_t>(firstOwnPort) + i + 1;
        if (discovered[i] != fmt::format("Phone: live tunnel port {} discovered, relay open", port))
            throw std::runtime_error("not in its place: " + discovered[i]);
    }
    bridge->stop();
    return 0;
}

int readBare(int count) {
    const Stopwatch time;
    const std::string command = fmt::format("exec {} print {}", ownProgram(), count);
    const std::unique_ptr<FILE, int (*)(FILE*)> child(::popen(command.c_str(), "re"), ::pclose);
    if (!child) throw std::runtime_error("cannot start " + command);
    // As much at a time as the system's reader of children takes.
    std::array<char, std::size_t{16} * 1024> bytes{};
    std::ptrdiff_t lines = 0;
    for (ssize_t size = 0; (size = ::read(::fileno(child.get()), bytes.data(), bytes.size())) > 0;)
        lines += std::count(bytes.begin(), bytes.begin() + size, '\n');
    if (lines != count) throw std::runtime_error("lines are missing");
    report(count, time.seconds());
    return 0;
}

}  // namespace quillbay::bench
