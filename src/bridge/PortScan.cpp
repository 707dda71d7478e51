#include "bridge/PortScan.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <utility>

namespace quillbay {

namespace {

/// How long a lane waits for others to give descriptors back: short beside a probe's time-out, and 96 lanes
/// that all wait still cost next to nothing.
constexpr std::chrono::milliseconds shortagePause{100};

}  // namespace

/// Runs one probe after the other on its network thread.
class PortScan::Lane : public std::enable_shared_from_this<Lane> {
 public:
    Lane(std::shared_ptr<PortScan> scan, boost::asio::io_context& loop)
        : scan_(std::move(scan)), loop_(loop), pause_(loop) {}

    /// By way of the loop: others on this thread get their turn between two probes, and nothing recurses.
    void advanceSoon() {
        boost::asio::post(loop_, [self = shared_from_this()] { self->advance(); });
    }

    void cancelSoon() {
        boost::asio::post(loop_, [self = shared_from_this()] {
            if (const auto attempt = self->attempt_.lock()) attempt->cancel();
            self->pause_.cancel();
        });
    }

 private:
    void advance() {
        if (!scan_->takePort(port_)) return scan_->laneEnded();
        const RemotePairingProbe::Scan& scan = scan_->scan_;
        const ProbeAttempt::Question question{scan_->addresses_, *port_, scan.wireProtocolVersion,
                                              scan.timeout, scan.timeout};
        const auto attempt = std::make_shared<ProbeAttempt>(
            loop_, scan_->random_, question,
            [self = shared_from_this()](ProbeAttempt::Outcome outcome) { self->onOutcome(outcome); });
        attempt_ = attempt;
        attempt->start();
    }

    void onOutcome(ProbeAttempt::Outcome outcome) {
        scan_->record(*port_, outcome);
        if (outcome) {
            port_.reset();
            advanceSoon();
        } else {
            pause_.expires_after(shortagePause);
            pause_.async_wait(
                [self = shared_from_this()](const boost::system::error_code&) { self->advance(); });
        }
    }

    const std::shared_ptr<PortScan> scan_;
    boost::asio::io_context& loop_;
    boost::asio::steady_timer pause_;
    std::weak_ptr<ProbeAttempt> attempt_;
    /// Taken and without a verdict yet.
    std::optional<std::uint16_t> port_;
};

PortScan::PortScan(NetworkThreads& network, RandomSource& random, RemotePairingProbe::Scan scan,
                   std::vector<HostAddress> addresses)
    : scan_(std::move(scan)),
      addresses_(std::make_shared<const std::vector<HostAddress>>(std::move(addresses))),
      network_(network),
      random_(random),
      cursor_(scan_.firstPort) {}

RemotePairingScanReport PortScan::run(const StopToken& token) {
    lanesRunning_ = std::min<std::size_t>(std::max(1U, scan_.concurrency), scan_.portCount());
    for (std::size_t i = 0, count = lanesRunning_; i < count; ++i) {
        const auto lane =
            std::make_shared<Lane>(shared_from_this(), network_.contextFor(static_cast<std::uint16_t>(i)));
        lanes_.push_back(lane);
        lane->advanceSoon();
    }

    const StopRegistration registration = token.onStop([this] {
        const std::lock_guard lock(waiting_);
        stopped_ = true;
        changed_.notify_all();
    });
    std::unique_lock lock(waiting_);
    changed_.wait(lock, [this] { return stopped_ || lanesRunning_ == 0; });
    const bool early = lanesRunning_ != 0;
    lock.unlock();
    if (early) drop();

    const std::lock_guard reportLock(mutex_);
    return report_;
}

std::size_t PortScan::mostInFlight() const {
    const std::lock_guard lock(mutex_);
    return mostInFlight_;
}

bool PortScan::takePort(std::optional<std::uint16_t>& port) {
    const std::lock_guard lock(mutex_);
    if (report_.port || dropped_) dispatching_ = false;
    if (dispatching_ && scan_.shouldContinue && !scan_.shouldContinue()) dispatching_ = false;
    if (!dispatching_) return false;
    if (!port) port = nextPort();
    if (!port) return false;
    ++inFlight_;
    mostInFlight_ = std::max(mostInFlight_, inFlight_);
    return true;
}

std::optional<std::uint16_t> PortScan::nextPort() {
    if (scan_.preferred && !std::exchange(preferredTaken_, true)) return scan_.preferred;
    if (scan_.preferred && cursor_ == *scan_.preferred) ++cursor_;
    if (cursor_ > scan_.lastPort) return std::nullopt;
    return static_cast<std::uint16_t>(cursor_++);
}

void PortScan::record(std::uint16_t port, ProbeAttempt::Outcome outcome) {
    const std::lock_guard lock(mutex_);
    --inFlight_;
    if (!outcome || dropped_) return;
    if (scan_.onProgress) scan_.onProgress(port);
    if (*outcome == RemotePairingProbeResult::openButSilent) report_.openButSilent.push_back(port);
    if (*outcome == RemotePairingProbeResult::remotePairingPort && !report_.port) report_.port = port;
}

void PortScan::laneEnded() {
    const std::lock_guard lock(waiting_);
    --lanesRunning_;
    changed_.notify_all();
}

void PortScan::drop() {
    {
        const std::lock_guard lock(mutex_);
        dropped_ = true;
    }
    for (const auto& weakLane : lanes_)
        if (const auto lane = weakLane.lock()) lane->cancelSoon();
}

}  // namespace quillbay
