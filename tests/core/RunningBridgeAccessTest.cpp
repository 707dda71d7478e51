// What the setting "Only this computer may use the bridge" does to bridges. In a network of the test's own,
// whose loopback interface has this computer's address and another one's.
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"
#include "fakes/NetworkNamespace.h"
#include "platform/Sockets.h"

namespace quillbay {
namespace {

using fakes::FakePhone;

constexpr const char* mac = "10.77.0.1";
constexpr const char* desk = "10.77.0.2";

/// A coordinator with the bridge of one phone, which can be reached.
struct World {
    World() {
        host.setAddress(mac);
        coordinator = AppCoordinator::make(host.host,
                                           {.presenceCheck = [](const std::string&, std::chrono::milliseconds,
                                                                const StopToken&) { return false; },
                                            .serviceQuestion = {}});
        host.settle();
    }

    bool start() {
        const DeviceProfile profile = reachableProfile("iphone", host.phoneIP, phone.port());
        coordinator->saveProfile(profile, AppCoordinator::SaveAnnouncement::silent);
        coordinator->start(profile);
        return host.until([&] { return coordinator->status(profile.id()).kind == BridgeStatus::Kind::on; });
    }

    /// Connects to the control channel from this address.
    [[nodiscard]] UniqueDescriptor connectFrom(const char* source) const {
        UniqueDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const timeval limit{10, 0};
        ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        const sockaddr_in from = ipv4Endpoint(source, 0);
        const sockaddr_in to = ipv4Endpoint(mac, phone.port());
        EXPECT_EQ(::bind(client.get(), reinterpret_cast<const sockaddr*>(&from), sizeof from), 0);
        EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        return client;
    }
    bool untilPhoneHas(int connections) {
        return host.until([&] { return phone.connections() >= connections; });
    }
    /// Waits for the end of the connection.
    static bool isClosed(const UniqueDescriptor& client) {
        std::array<char, 64> buffer{};
        ssize_t count = 0;
        while ((count = ::recv(client.get(), buffer.data(), buffer.size(), 0)) > 0) {
        }
        return count == 0 || errno == ECONNRESET;
    }

    fakes::TestHost host;
    FakePhone phone{host.phoneIP, FakePhone::Manner::answers};
    std::shared_ptr<AppCoordinator> coordinator;
};

void inWorld(const std::function<void(World& world)>& body) {
    fakes::inNetworkNamespace([&] {
        fakes::shell(
            "ip link set lo up && ip addr add 10.77.0.1/32 dev lo && ip addr add 10.77.0.2/32 dev lo");
        World world;
        body(world);
    });
}

TEST(RunningBridgeAccess, a_bridge_that_runs_ends_the_connections_of_others_and_refuses_new_ones) {
    inWorld([](World& world) {
        ASSERT_TRUE(world.start());
        const int probes = world.phone.connections();
        const UniqueDescriptor stranger = world.connectFrom(desk);
        ASSERT_TRUE(world.untilPhoneHas(probes + 1)) << "another computer gets through at first";

        world.coordinator->setOnlyThisComputer(true);
        EXPECT_TRUE(World::isClosed(stranger));
        EXPECT_TRUE(World::isClosed(world.connectFrom(desk)));
        EXPECT_EQ(world.coordinator->refusedClients().connections, 1U);

        const UniqueDescriptor own = world.connectFrom(mac);
        EXPECT_TRUE(world.untilPhoneHas(probes + 2));
        EXPECT_EQ(world.phone.connections(), probes + 2) << "nothing of the refused one arrived";
    });
}

TEST(RunningBridgeAccess, a_bridge_that_starts_later_refuses_others_too_and_the_log_says_so) {
    inWorld([](World& world) {
        world.coordinator->setOnlyThisComputer(true);
        ASSERT_TRUE(world.start());
        EXPECT_TRUE(World::isClosed(world.connectFrom(desk)));
        world.host.settle();
        EXPECT_THAT(
            world.coordinator->logs().diagnosticLines().back(),
            ::testing::EndsWith("Only this computer may use the bridge: 1 connection(s) and 0 datagram(s) of "
                                "others refused so far, the last from 10.77.0.2"));
    });
}

}  // namespace
}  // namespace quillbay
