// The names that the developer tools know for captured phones.

#include <fstream>

#include "core/CoordinatorFixture.h"
#include "fakes/Tools.h"

namespace quillbay {
namespace {

using Published = AppCoordinator::Published;
using ::testing::IsEmpty;

class AppCoordinatorNames : public CoordinatorTest {
 protected:
    /// What the developer tools know from now on: the members of one device each.
    void setDevices(const std::string& devices) {
        const auto file = world.folder.path() / "devices";
        std::ofstream(file) << R"({"result": {"devices": [)" + devices + "]}}";
        world.host.tools.xcrun = {fakes::toolPath("fake-xcrun"), {"lists", file.string()}};
    }
};

TEST_F(AppCoordinatorNames, gives_phones_the_names_that_the_developer_tools_know) {
    setDevices(R"({"identifier": "DD-01", "hardwareProperties": {"udid": "ab-12"},
                   "deviceProperties": {"name": "Mirel's iPhone"}},
                  {"identifier": "cd-34", "deviceProperties": {"name": "Desk iPhone"}},
                  {"identifier": "nameless", "hardwareProperties": {"udid": "ef-56"}})");
    make();
    auto byUDID = service("a.local");
    byUDID.txt["identifier"] = "aB-12";
    auto byIdentifier = service("b.local");
    byIdentifier.txt["identifier"] = "CD-34";
    auto nameless = service("c.local");
    nameless.txt["identifier"] = "EF-56";
    for (const auto& captured : {byUDID, byIdentifier, nameless, service("d.local")})
        coordinator->upsertCapturedService(captured);
    changes.clear();
    bool done = false;
    coordinator->refreshDeviceNames([&] { done = true; });
    EXPECT_FALSE(done);
    ASSERT_TRUE(world.until([&] { return done; }));
    const auto& captured = coordinator->capturedServices();
    EXPECT_EQ(captured.at(0).resolvedDeviceName, "Mirel's iPhone");
    EXPECT_EQ(captured.at(1).resolvedDeviceName, "Desk iPhone");
    EXPECT_EQ(captured.at(2).resolvedDeviceName, std::nullopt);
    EXPECT_EQ(captured.at(3).resolvedDeviceName, std::nullopt);
    EXPECT_EQ(changes[Published::capturedServices], 1);
}

TEST_F(AppCoordinatorNames, a_phone_that_comes_later_gets_the_name_that_is_known_and_keeps_it) {
    setDevices(R"({"identifier": "DD-01", "hardwareProperties": {"udid": "AB-12"},
                   "deviceProperties": {"name": "Mirel's iPhone"}})");
    make();
    bool done = false;
    coordinator->refreshDeviceNames([&] { done = true; });
    ASSERT_TRUE(world.until([&] { return done; }));
    auto phone = service("a.local");
    phone.txt["identifier"] = "ab-12";
    coordinator->upsertCapturedService(phone);
    EXPECT_EQ(coordinator->capturedServices().at(0).resolvedDeviceName, "Mirel's iPhone");
    coordinator->upsertCapturedService(service("a.local"));
    EXPECT_EQ(coordinator->capturedServices().at(0).resolvedDeviceName, "Mirel's iPhone")
        << "a record whose TXT entries have not come yet";

    // The tools forget the device: what they once said is kept.
    setDevices("");
    done = false;
    coordinator->refreshDeviceNames([&] { done = true; });
    ASSERT_TRUE(world.until([&] { return done; }));
    coordinator->upsertCapturedService(phone);
    EXPECT_EQ(coordinator->capturedServices().at(0).resolvedDeviceName, "Mirel's iPhone");
}

TEST_F(AppCoordinatorNames, another_device_under_the_same_host_does_not_inherit_the_name) {
    make();
    auto phone = service("a.local");
    phone.txt["identifier"] = "AB-12";
    phone.resolvedDeviceName = "Mirel's iPhone";
    coordinator->upsertCapturedService(phone);
    auto other = service("a.local");
    other.txt["identifier"] = "FF-99";
    coordinator->upsertCapturedService(other);
    EXPECT_EQ(coordinator->capturedServices().at(0).resolvedDeviceName, std::nullopt);
}

TEST_F(AppCoordinatorNames, asks_the_developer_tools_once_for_all_who_wait_and_lives_without_them) {
    make();
    int done = 0;
    for (int i = 0; i < 3; ++i)
        coordinator->refreshDeviceNames([&] { ++done; });
    coordinator->refreshDeviceNames();
    ASSERT_TRUE(world.until([&] { return done == 3; }));
    EXPECT_EQ(world.tools.deviceCtlRuns(), 1);
    coordinator->refreshDeviceNames([&] { ++done; });
    ASSERT_TRUE(world.until([&] { return done == 4; }));
    EXPECT_EQ(world.tools.deviceCtlRuns(), 2);
    EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
