#include "ui/shell/RunningInstance.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <string_view>
#include <thread>

#include "platform/JSONValue.h"
#include "platform/LocalSockets.h"
#include "platform/PrintableText.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

using std::chrono::steady_clock;

/// Waits until the socket can be read or written, as `events` says; false when the time is up.
bool waitFor(int descriptor, short events, steady_clock::time_point deadline) {
    while (true) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
        if (left <= 0) return false;
        pollfd wait{descriptor, events, 0};
        const int ready = ::poll(&wait, 1, static_cast<int>(left));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

bool sendAll(int descriptor, std::string_view bytes, steady_clock::time_point deadline) {
    while (!bytes.empty()) {
        if (!waitFor(descriptor, POLLOUT, deadline)) return false;
        const ssize_t count = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The first line; nothing when the other side closes, or says too much or nothing.
std::optional<std::string> receiveLine(int descriptor, steady_clock::time_point deadline) {
    constexpr std::size_t longest = 65'536;
    std::string line;
    while (line.size() < longest) {
        if (!waitFor(descriptor, POLLIN, deadline)) return std::nullopt;
        std::array<char, 4096> chunk{};
        const ssize_t count = ::recv(descriptor, chunk.data(), chunk.size(), 0);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
        if (count <= 0) return std::nullopt;
        line.append(chunk.data(), static_cast<std::size_t>(count));
        if (const std::size_t end = line.find('\n'); end != std::string::npos) return line.substr(0, end);
    }
    return std::nullopt;
}

std::string activationRequest(const std::optional<std::string>& token) {
    nlohmann::ordered_json request{{"command", "activate"}};
    // Another program's text, and of no use when it is none.
    if (token && isValidUtf8(*token)) request["token"] = *token;
    return request.dump() + "\n";
}

/// The program's answer as a claim; nothing when it gives none.
std::optional<InstanceClaim> askToActivate(const std::filesystem::path& socket, const std::string& request,
                                           steady_clock::time_point deadline) {
    try {
        const UniqueDescriptor connection = connectLocal(socket);
        if (!sendAll(connection.get(), request, deadline)) return std::nullopt;
        const auto line = receiveLine(connection.get(), deadline);
        if (!line) return std::nullopt;
        const JSONValue answer = JSONValue::parse(*line);
        const JSONValue* error = answer.member("error");
        InstanceClaim claim;
        claim.activated = error == nullptr;
        if (error != nullptr) claim.refusal = printable(error->string("error"));
        return claim;
    } catch (const std::exception&) {
        // Nobody listens (yet, or any more), or it is no answer: both mean to try again.
        return std::nullopt;
    }
}

}  // namespace

InstanceClaim claimInstance(const std::filesystem::path& folder, const std::filesystem::path& socket,
                            WhenRunning whenRunning, const std::optional<std::string>& activationToken,
                            std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds pause{50};
    // It is read after an exception, which the analysis does not follow here.
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores)
    const auto deadline = steady_clock::now() + patience;
    const std::string request = activationRequest(activationToken);
    while (true) {
        InstanceClaim claim;
        try {
            claim.lock = InstanceLock::take(folder);
            return claim;
        } catch (const AlreadyRunningError& running) {
            claim.refusal = std::string(running.what()) + " It does not answer.";
        }
        if (whenRunning == WhenRunning::leaveAlone) return {.lock = {}, .activated = true, .refusal = {}};
        if (auto answered = askToActivate(socket, request, deadline)) {
            if (!answered->activated) answered->refusal = "Quillbay is running already. " + answered->refusal;
            return std::move(*answered);
        }
        if (steady_clock::now() + pause >= deadline) return claim;
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace quillbay
