#include "udp/Flows.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "platform/Sockets.h"
#include "suite/Report.h"
#include "udp/Batch.h"
#include "udp/Datagrams.h"
#include "udp/Echo.h"

namespace quillbay::bench {

namespace {

using Clock = std::chrono::steady_clock;

// Nothing that is still on its way takes as long as this.
constexpr std::chrono::milliseconds lostAfter{50};

struct Flow {
    UniqueDescriptor socket;
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    /// The number that should come next; what is missing before it is given up.
    std::uint64_t expected = 0;
    Clock::time_point heard;
};

class Clients {
 public:
    Clients(const Forwarder& through, int count)
        : poller_(::epoll_create1(EPOLL_CLOEXEC)), flows_(static_cast<std::size_t>(count)) {
        const sockaddr_in to = ipv4Endpoint(through.address, through.port);
        for (std::size_t i = 0; i < flows_.size(); ++i) {
            UniqueDescriptor& socket = flows_[i].socket;
            socket = openSocket(AF_INET, SOCK_DGRAM);
            if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
                throw std::runtime_error("a client cannot be directed at the forwarder");
            }
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.u32 = static_cast<std::uint32_t>(i);
            ::epoll_ctl(poller_.get(), EPOLL_CTL_ADD, socket.get(), &event);
        }
    }

    std::vector<Flow>& flows() { return flows_; }

    /// Calls `ready` with the place of each flow that has something; false when there was none for long.
    template <typename Ready>
    bool wait(Ready ready) {
        std::array<epoll_event, 128> events;
        const int count = ::epoll_wait(poller_.get(), events.data(), events.size(), lostAfter.count());
        for (int i = 0; i < count; ++i)
            ready(events[static_cast<std::size_t>(i)].data.u32);
        return count > 0;
    }

 private:
    UniqueDescriptor poller_;
    std::vector<Flow> flows_;
};

class Pump {
 public:
    Pump(const Forwarder& through, const Load& load) : load_(load), clients_(through, load.flows) {
        for (Flow& flow : clients_.flows())
            enlargeReceiveBuffer(flow.socket.get());
    }

    Throughput run(std::chrono::milliseconds time) {
        const auto start = Clock::now();
        const auto end = start + time;
        auto checked = start;
        for (auto now = start; now < end; now = Clock::now()) {
            refill();
            clients_.wait([&](std::uint32_t place) { receive(place, now); });
            if (now - checked < lostAfter) continue;
            checked = now;
            giveUpSilent(now);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        const double inTime = total(&Flow::received);
        // What is on its way still counts as lost or not, and must not meet the next run's clients.
        while (total(&Flow::received) < total(&Flow::sent) &&
               clients_.wait([&](std::uint32_t place) { receive(place, Clock::now()); })) {
        }
        return {inTime / seconds, 1 - total(&Flow::received) / total(&Flow::sent)};
    }

    double echoed() { return total(&Flow::received); }

 private:
    /// The flows take turns, each with as many as are its share of what is under way.
    void refill() {
        const std::size_t share = std::clamp<std::size_t>(load_.underWay / clients_.flows().size(), 1, 32);
        while (underWay_ < load_.underWay) {
            const std::size_t count = std::min(share, load_.underWay - underWay_);
            Flow& flow = clients_.flows()[next_];
            for (std::size_t i = 0; i < count; ++i)
                writeDatagram(batch_.place(i, load_.datagramBytes), next_, flow.sent++);
            batch_.send(flow.socket.get(), count);
            underWay_ += count;
            next_ = (next_ + 1) % static_cast<std::uint32_t>(clients_.flows().size());
        }
    }

    void receive(std::uint32_t place, Clock::time_point now) {
        Flow& flow = clients_.flows()[place];
        flow.heard = now;
        const std::size_t count = batch_.receive(flow.socket.get());
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t number = readDatagram(batch_.received(i), load_.datagramBytes, place);
            ++flow.received;
            if (number < flow.expected) continue;  // late, and given up already
            underWay_ -= number + 1 - flow.expected;
            flow.expected = number + 1;
        }
    }

    void giveUpSilent(Clock::time_point now) {
        for (Flow& flow : clients_.flows()) {
            if (now - flow.heard < lostAfter) continue;
            underWay_ -= flow.sent - flow.expected;
            flow.expected = flow.sent;
        }
    }

    double total(std::uint64_t Flow::* count) {
        double sum = 0;
        for (const Flow& flow : clients_.flows())
            sum += static_cast<double>(flow.*count);
        return sum;
    }

    const Load load_;
    Clients clients_;
    Batch batch_;
    std::size_t underWay_ = 0;
    std::uint32_t next_ = 0;
};

}  // namespace

Throughput measureThroughput(const Forwarder& through, const Load& load, std::chrono::milliseconds time) {
    const auto used = [&] { return through.child ? through.child->processorSeconds() : 0; };
    const double before = used();
    Pump pump(through, load);
    Throughput result = pump.run(time);
    result.processorMicrosecondsEach = 1e6 * (used() - before) / pump.echoed();
    return result;
}

FirstReplies measureFirstReplies(const Forwarder& through, int clients, int atOnce) {
    Clients all(through, clients);
    Batch batch;
    std::size_t asked = 0;
    const auto askNext = [&] {
        if (asked == all.flows().size()) return;
        Flow& flow = all.flows()[asked];
        flow.heard = Clock::now();
        writeDatagram(batch.place(0, Load::smallestLoad), static_cast<std::uint32_t>(asked), 0);
        batch.send(flow.socket.get(), 1);
        ++asked;
    };
    std::vector<double> times;
    const auto start = Clock::now();
    for (int i = 0; i < atOnce; ++i)
        askNext();
    while (times.size() < all.flows().size()) {
        const bool any = all.wait([&](std::uint32_t place) {
            Flow& flow = all.flows()[place];
            const std::size_t count = batch.receive(flow.socket.get());
            if (count != 1) throw std::runtime_error("a first reply came twice or not at all");
            static_cast<void>(readDatagram(batch.received(0), Load::smallestLoad, place));
            times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - flow.heard).count());
            askNext();
        });
        if (!any) throw std::runtime_error("a first reply did not come");
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return {static_cast<double>(times.size()) / seconds, percentile99(times)};
}

}  // namespace quillbay::bench
