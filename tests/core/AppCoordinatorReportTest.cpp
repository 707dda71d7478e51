// The report through the coordinator, up to a desktop on a real bus.

#include <fstream>

#include "core/CoordinatorFixture.h"
#include "core/InTimeZone.h"
#include "core/SupportAddress.h"
#include "core/Version.h"
#include "core/ZipContents.h"
#include "fakes/PrivateBus.h"
#include "fakes/TestDesktop.h"
#include "platform/SystemFacts.h"
#include "platform/linux/LinuxDesktopServices.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using fakes::TestDesktop;
using fakes::zipContents;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::SizeIs;
using ::testing::StartsWith;

class AppCoordinatorReport : private fakes::InTimeZone, public CoordinatorTest {
 protected:
    AppCoordinatorReport() : fakes::InTimeZone("UTC") {}

    void startDesktop(TestDesktop::Services services) {
        const fs::path folder = world.folder.path() / "bus";
        fs::create_directories(folder);
        bus.emplace(folder);
        desktop.emplace(bus->address(), services);
        LinuxDesktopServices::Surroundings surroundings;
        surroundings.busAddress = bus->address();
        reached.emplace(world.mainQueue, world.background, surroundings);
        world.host.desktop = &*reached;
    }

    void save(const DeviceProfile& profile) const {
        DeviceProfileStore(world.host.files, "Quillbay").save({profile});
    }

    [[nodiscard]] std::string expectedHeader(const std::string& profiles) const {
        return std::string("Quillbay diagnostics\nExported: 2023-11-14 22:13:20\nApp version: ") +
               applicationVersion() + "\nmacOS: " + operatingSystemVersion() +
               "\nComputer name: " + computerName() + "\nLocal IP (en0): " + world.macIP +
               "\nInstalled providers: " + installedProviders() + "\n" + profiles + "--- log ---";
    }

    [[nodiscard]] std::string installedProviders() const {
        std::string names;
        for (const auto& provider : coordinator->installedProviders())
            names += (names.empty() ? "" : ", ") + provider->type().displayName;
        return names.empty() ? "none" : names;
    }

    std::optional<fakes::PrivateBus> bus;
    std::optional<TestDesktop> desktop;
    std::optional<LinuxDesktopServices> reached;
};

TEST_F(AppCoordinatorReport, the_header_tells_of_this_computer_and_its_profiles) {
    DeviceProfile mine = profile("iphone", 50000);
    mine.bridgeEnabled = std::nullopt;
    save(mine);
    make();
    EXPECT_EQ(coordinator->diagnosticsHeader(),
              expectedHeader("Profiles (1)\n  - \"iphone\" provider=Tailscale ip=" + world.phoneIP +
                             " port=50000 bridgeEnabled=false status=off\n"));
    world.setAddress(std::nullopt);
    EXPECT_THAT(coordinator->diagnosticsHeader(), testing::HasSubstr("\nLocal IP (en0): none\n"));
}

TEST_F(AppCoordinatorReport, a_failed_bridge_stands_there_with_its_sentence) {
    const DeviceProfile mine = profile("iphone", 50000);
    save(mine);
    const auto stillNear = [](const std::string&, std::chrono::milliseconds, const StopToken&) {
        return true;
    };
    coordinator =
        AppCoordinator::make(world.host, {.presenceCheck = stillNear, .serviceQuestion = network.question()});
    coordinator->start(mine);
    ASSERT_TRUE(
        world.until([&] { return coordinator->status(mine.id()).kind == BridgeStatus::Kind::error; }));
    EXPECT_THAT(coordinator->diagnosticsHeader(),
                testing::HasSubstr("bridgeEnabled=true status=error(The device is still on this Mac's"));
    EXPECT_THAT(coordinator->supportEmailBody(),
                testing::HasSubstr("——— Devices ———\n\"iphone\": Tailscale, error(The device is still"));
}

TEST_F(AppCoordinatorReport, the_portal_gets_the_zip_with_the_header_and_the_log) {
    startDesktop({.emailVersion = 4});
    make();
    coordinator->sendToSupport();
    ASSERT_TRUE(world.until([this] { return !desktop->record().mails.empty(); }));
    const TestDesktop::Mail mail = desktop->record().mails.at(0);
    EXPECT_THAT(mail.addresses, ElementsAre(supportAddress()));
    EXPECT_EQ(mail.subject, "Quillbay Diagnostics");
    EXPECT_EQ(mail.body, coordinator->supportEmailBody());
    EXPECT_EQ(mail.attachmentMode, 0600U);
    ASSERT_TRUE(mail.attachment.has_value());
    const fs::path received = world.folder.path() / "received.zip";
    std::ofstream(received, std::ios::binary) << *mail.attachment;
    const auto files = zipContents(received);
    ASSERT_THAT(files, SizeIs(1));
    const std::string log = files.at("diagnostics.log");
    EXPECT_THAT(log,
                StartsWith(expectedHeader("Profiles (0)\n") + "\n2023-11-14 22:13:20.000  Quillbay started"));
    EXPECT_THAT(log, EndsWith("\n2023-11-14 22:13:20.000  User requested Send diagnostics to support team"));
}

TEST_F(AppCoordinatorReport, a_portal_that_refuses_the_zip_gets_the_text_alone) {
    startDesktop({.emailVersion = 4, .fileManager = true, .manner = TestDesktop::Manner::refusesAttachments});
    make();
    coordinator->sendToSupport();
    ASSERT_TRUE(world.until([this] { return !coordinator->logs().userLines().empty(); }));
    EXPECT_THAT(coordinator->logs().userLines(),
                ElementsAre("Couldn't attach the zip automatically — file revealed in Finder."));
    const std::string zip = (world.folder.path() / "quillbay-diagnostics-2023-11-14_22-13-20.zip").string();
    EXPECT_THAT(desktop->record().shownItems, ElementsAre("file://" + zip));
    ASSERT_THAT(desktop->record().mails, SizeIs(2));
    EXPECT_EQ(desktop->record().mails.at(1).body,
              coordinator->supportEmailBody() +
                  "\n\n(Attachment could not be added automatically — zip is selected in Finder:\n" + zip +
                  ")");
    EXPECT_FALSE(desktop->record().mails.at(1).attachment.has_value());
}

TEST_F(AppCoordinatorReport, without_mail_the_portal_opens_the_address) {
    startDesktop({.openVersion = 4, .fileManager = true});
    make();
    coordinator->sendToSupport();
    ASSERT_TRUE(world.until([this] { return !coordinator->logs().userLines().empty(); }));
    EXPECT_THAT(coordinator->logs().userLines(),
                ElementsAre("Mail composer unavailable — zip revealed in Finder."));
    EXPECT_THAT(desktop->record().shownItems, SizeIs(1));
    EXPECT_THAT(desktop->record().openedURIs,
                ElementsAre(std::string("mailto:") + supportAddress() + "?subject=Quillbay%20Diagnostics"));
}

TEST_F(AppCoordinatorReport, exports_the_same_report_to_a_file) {
    make();
    const fs::path archive = world.folder.path() / "report.zip";
    bool done = false;
    coordinator->exportReport(archive, [&](const std::optional<std::string>& error) {
        EXPECT_EQ(error, std::nullopt);
        done = true;
    });
    ASSERT_TRUE(world.until([&] { return done; }));
    EXPECT_THAT(zipContents(archive).at("diagnostics.log"),
                StartsWith(expectedHeader("Profiles (0)\n") + "\n2023-11-14 22:13:20.000  Quillbay started"));
}

}  // namespace
}  // namespace quillbay
