#include "discovery/BonjourCapture.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#include "discovery/ZoneDumpReader.h"
#include "platform/ChildOutputReader.h"
#include "platform/ChildProcess.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

/// The queue lies on the loop of port 0, like the others that have little to do.
constexpr std::uint16_t queuePort = 0;
constexpr const char* queueLabel = "com.local.mirel.Quillbay.bonjour-capture";

/// Short enough that nobody waits for a phone because of it. The longest pause is for a computer on which the
/// tool can never run: there, a launch a minute is not felt.
constexpr std::chrono::milliseconds firstPause = std::chrono::seconds(1);
constexpr std::chrono::milliseconds longestPause = std::chrono::minutes(1);
/// A child that ran for this long did not fail at its start.
constexpr std::chrono::minutes settledAfter{1};
/// Nor did one that ran for this long: where the tool cannot work, it says so at once.
constexpr std::chrono::seconds worksAfter{3};

std::string described(ExitStatus status) {
    return status.signal != 0 ? fmt::format("was ended by signal {}", status.signal)
                              : fmt::format("ended by itself with status {}", status.code);
}

}  // namespace

/// One session: the child, its successors, and what was learned from them.
///
///     main thread    start → launch ──────────────┐  ← pause ← tryAgain ← told   (and stop, at any time)
///     queue                            consume …  outputEnded               ↑
///     child's thread                                        └→ child ended ─┘
///
/// Handlers hold the session weakly. What runs off the main thread does so with `gate` locked and not after
/// `stopped`, so `stop` waits for it and nothing is called or posted afterwards.
struct BonjourCapture::Session : std::enable_shared_from_this<Session> {
    Session(const BonjourCapture& capture, const std::string& serviceType, const std::string& domain)
        : host(capture.host_),
          queue(host.network.queueFor(queuePort, queueLabel)),
          arguments{"-Z", serviceType, domain},
          onServiceUpdated(capture.onServiceUpdated),
          onLog(capture.onLog),
          activeProxyHosts(capture.activeProxyHosts),
          zoneDump(serviceType, domain) {}

    // On the main thread.

    void launch() {
        const HostTools::Tool& tool = host.tools.dnsSD;
        ChildCommand command{tool.executable, tool.leadingArguments, ChildCommand::Output::pipe,
                             ChildCommand::Output::null, tool.environment};
        command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
        launchedAt = host.clock.steadyNow();
        waiting = false;
        zoneDumpProcess.reset();
        try {
            zoneDumpProcess = ChildProcess::launch(command);
            read(*zoneDumpProcess);
        } catch (const std::system_error& error) {
            if (zoneDumpProcess) zoneDumpProcess->terminate();
            tryAgain("could not be launched: " + printedError(error));
        }
    }

    void read(const ChildProcess& child) {
        output = std::make_unique<ChildOutputReader>(
            queue, child.takeStandardOutput(),
            [weak = weak_from_this()](const std::string& text) {
                if (const auto self = weak.lock()) self->consume(text);
            },
            [weak = weak_from_this(), child] {
                if (const auto self = weak.lock()) self->outputEnded(child);
            });
    }

    void tryAgain(const std::string& trouble) {
        if (stopped) return;
        waiting = true;
        failures = works() ? 1 : failures + 1;
        if (host.clock.steadyNow() - launchedAt >= settledAfter) {
            pause = firstPause;
            lastTrouble.clear();
        }
        if (trouble != lastTrouble)
            log(fmt::format("Bonjour: {} {}; it is started again.", host.tools.dnsSD.executable, trouble));
        lastTrouble = trouble;
        restart = host.mainQueue.after(pause, [weak = weak_from_this()] {
            const auto self = weak.lock();
            if (self && !self->stopped) self->launch();
        });
        pause = std::min(2 * pause, longestPause);
    }

    [[nodiscard]] bool works() const { return host.clock.steadyNow() - launchedAt >= worksAfter; }
    [[nodiscard]] bool isFailing() const { return failures > 1 && (waiting || !works()); }

    void log(const std::string& line) {
        queue.post([weak = weak_from_this(), line] {
            const auto self = weak.lock();
            if (!self) return;
            const std::lock_guard lock(self->gate);
            if (!self->stopped && self->onLog) self->onLog(line);
        });
    }

    void stop() {
        {
            const std::lock_guard lock(gate);
            stopped = true;
        }
        // Here and not in the destructor: a handler that is just ending may be the last to hold the session,
        // and timers belong to the main thread.
        restart.reset();
        if (output) output->stop();
        if (zoneDumpProcess) zoneDumpProcess->terminate();
    }

    // On the queue.

    void consume(const std::string& text) {
        const std::lock_guard lock(gate);
        if (stopped) return;
        auto read = zoneDump.consume(text, host.clock.now(), activeProxyHosts);
        for (std::string& line : read.logLines)
            if (onLog) onLog(std::move(line));
        for (CapturedBonjourService& service : read.services)
            if (onServiceUpdated) onServiceUpdated(std::move(service));
    }

    void outputEnded(const ChildProcess& child) {
        {
            const std::lock_guard lock(gate);
            if (stopped) return;
            zoneDump.beginAnew();
        }
        // Should it still run, it has no more to say.
        child.terminate();
        // Called at once where the child has been reaped already, so the gate is open here.
        child.onExit([weak = weak_from_this()](ExitStatus status) {
            if (const auto self = weak.lock()) self->childEnded(status);
        });
    }

    // On the thread that waits for the child, or on the queue.

    void childEnded(ExitStatus status) {
        const std::lock_guard lock(gate);
        // Once stopped, the host may be gone.
        if (stopped) return;
        host.mainQueue.post([weak = weak_from_this(), status] {
            if (const auto self = weak.lock()) self->tryAgain(described(status));
        });
    }

    const Host& host;
    const SerialQueue queue;
    const std::vector<std::string> arguments;
    // Copies, so that the owner may change its own on the main thread while these are called on the queue.
    const std::function<void(CapturedBonjourService)> onServiceUpdated;
    const std::function<void(std::string)> onLog;
    const std::function<std::set<std::string>()> activeProxyHosts;

    std::mutex gate;
    /// Written on the main thread with the gate locked.
    bool stopped = false;
    /// With the gate locked.
    ZoneDumpReader zoneDump;

    // Of the main thread.
    std::optional<ChildProcess> zoneDumpProcess;
    std::unique_ptr<ChildOutputReader> output;
    std::unique_ptr<MainTimer> restart;
    std::chrono::steady_clock::time_point launchedAt;
    std::chrono::milliseconds pause = firstPause;
    std::string lastTrouble;
    /// In a row, of children that did not work.
    int failures = 0;
    /// For the next launch.
    bool waiting = false;
};

BonjourCapture::BonjourCapture(const Host& host) : host_(host) {}

BonjourCapture::~BonjourCapture() {
    stop();
}

void BonjourCapture::start(const std::string& serviceType, const std::string& domain) {
    stop();
    session_ = std::make_shared<Session>(*this, serviceType, domain);
    session_->launch();
}

void BonjourCapture::stop() {
    if (!session_) return;
    session_->stop();
    session_.reset();
}

bool BonjourCapture::isFailing() const {
    return session_ && session_->isFailing();
}

}  // namespace quillbay
