#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "core/CoordinatorFixture.h"
#include "fakes/Tools.h"
#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

using Published = AppCoordinator::Published;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Less than the time that a client is given, after which one that hangs ends in any case.
constexpr std::chrono::seconds withoutItsTimeLimit{10};

constexpr const char* twoPeers =
    R"({"Peer": {"a": {"HostName": "iPhone", "TailscaleIPs": ["100.64.0.7", "fd7a::7"], "Online": true},)"
    R"( "b": {"HostName": "server"}}})";

class AppCoordinatorProviders : public CoordinatorTest {
 protected:
    [[nodiscard]] std::filesystem::path settingsFile() const {
        return world.folder.path() / "config" / "Quillbay" / "settings.json";
    }
    void writeSettings(const std::string& text) const {
        std::filesystem::create_directories(settingsFile().parent_path());
        std::ofstream(settingsFile()) << text;
    }
    [[nodiscard]] std::string settings() const {
        std::ostringstream text;
        text << std::ifstream(settingsFile()).rdbuf();
        return text.str();
    }

    /// A client that runs `body` and says that it was started.
    [[nodiscard]] std::string client(const std::string& name, const std::string& body) const {
        const std::filesystem::path path = world.folder.path() / name;
        std::ofstream(path) << "#!/bin/sh\necho $$ >> '" << path.string() << "-runs'\n" << body << "\n";
        ::chmod(path.c_str(), 0700);
        return path.string();
    }
    [[nodiscard]] std::string printing(const std::string& name, const std::string& document) const {
        return client(name, "cat <<'END'\n" + document + "\nEND");
    }
    [[nodiscard]] std::vector<pid_t> runs(const std::string& clientPath) const {
        std::vector<pid_t> pids;
        std::ifstream file(clientPath + "-runs");
        for (pid_t pid = 0; file >> pid;)
            pids.push_back(pid);
        return pids;
    }

    /// Refreshes and waits for the end of it.
    void refresh(const std::string& providerID) {
        bool done = false;
        coordinator->refreshDevices(providerID, [&] { done = true; });
        EXPECT_FALSE(done) << "within the call";
        ASSERT_TRUE(world.until([&] { return done; }));
    }

    [[nodiscard]] std::vector<std::string> installed() const {
        std::vector<std::string> ids;
        for (const auto& provider : coordinator->installedProviders())
            ids.push_back(provider->type().id);
        return ids;
    }
};

TEST_F(AppCoordinatorProviders, reads_the_stored_paths_when_it_makes_the_providers) {
    const std::string path = printing("client", twoPeers);
    writeSettings(R"({"meshvpn.binaryPath.tailscale": ")" + path + R"(", "meshvpn.binaryPath.netbird": ""})");
    make();
    EXPECT_EQ(coordinator->providersByID().at("tailscale")->binaryPath(), path);
    EXPECT_EQ(coordinator->providersByID().at("netbird")->binaryPath(), "/usr/local/bin/netbird")
        << "empty means the default";
    EXPECT_THAT(installed(), ElementsAre("tailscale"));
}

TEST_F(AppCoordinatorProviders, a_new_path_is_used_and_remembered) {
    make();
    EXPECT_THAT(installed(), IsEmpty());
    const std::string path = printing("client", twoPeers);
    changes.clear();
    coordinator->setBinaryPath(path, "netbird");
    EXPECT_THAT(lines(), ElementsAre("CLI path for netbird set to " + path));
    EXPECT_THAT(installed(), ElementsAre("netbird"));
    EXPECT_EQ(changes[Published::installedProviders], 1);
    EXPECT_EQ(settings(), "{\n  \"meshvpn.binaryPath.netbird\": \"" + path + "\"\n}\n");

    coordinator.reset();
    make();
    EXPECT_EQ(coordinator->providersByID().at("netbird")->binaryPath(), path);
}

TEST_F(AppCoordinatorProviders, an_empty_path_is_logged_as_the_default_and_forgotten) {
    writeSettings(R"({"meshvpn.binaryPath.zerotier": "/nowhere/zt", "other": 1})");
    make();
    EXPECT_EQ(coordinator->providersByID().at("zerotier")->binaryPath(), "/nowhere/zt");
    coordinator->setBinaryPath("", "zerotier");
    EXPECT_THAT(lines(), ElementsAre("CLI path for zerotier set to (default)"));
    EXPECT_EQ(coordinator->providersByID().at("zerotier")->binaryPath(), "/usr/local/bin/zerotier-cli");
    EXPECT_EQ(settings(), "{\n  \"other\": 1\n}\n");
}

TEST_F(AppCoordinatorProviders, a_path_that_cannot_be_saved_is_used_all_the_same) {
    writeSettings("{broken");
    make();
    const std::string path = printing("client", twoPeers);
    coordinator->setBinaryPath(path, "tailscale");
    // The start has a line more than usual: settings that cannot be read restrict the bridge.
    EXPECT_THAT(lines(), ElementsAre(HasSubstr("IP changed"),
                                     "CLI path for tailscale could not be saved: the settings in " +
                                         settingsFile().string() +
                                         " cannot be read and are left as they are: the text is not valid "
                                         "JSON (at byte 2)",
                                     "CLI path for tailscale set to " + path));
    EXPECT_THAT(installed(), ElementsAre("tailscale"));
    EXPECT_EQ(settings(), "{broken");
}

TEST_F(AppCoordinatorProviders, lists_the_peers_of_a_provider) {
    make();
    coordinator->setBinaryPath(printing("client", twoPeers), "tailscale");
    changes.clear();
    refresh("tailscale");
    EXPECT_THAT(coordinator->devicesByProviderID().at("tailscale"),
                ElementsAre(MeshVPNDevice{"iPhone", {"100.64.0.7", "fd7a::7"}, true},
                            MeshVPNDevice{"server", {}, false}));
    EXPECT_THAT(coordinator->lastErrorByProviderID(), IsEmpty());
    EXPECT_EQ(lines().back(), "Tailscale: listed 2 device(s)");
    EXPECT_EQ(changes[Published::devices], 1);
}

TEST_F(AppCoordinatorProviders, a_failing_provider_keeps_its_last_peers_and_shows_its_error) {
    make();
    coordinator->setBinaryPath(printing("client", twoPeers), "tailscale");
    refresh("tailscale");
    coordinator->setBinaryPath(fakes::toolPath("client-fails"), "tailscale");
    refresh("tailscale");
    EXPECT_THAT(coordinator->devicesByProviderID().at("tailscale"), SizeIs(2));
    EXPECT_EQ(coordinator->lastErrorByProviderID().at("tailscale"),
              "CLI exited with status 1: failed to connect to the local daemon");
    EXPECT_EQ(lines().back(),
              "Failed to fetch Tailscale devices: CLI exited with status 1: failed to connect to the local "
              "daemon");
    coordinator->setBinaryPath(printing("client", R"({"Peer": {}})"), "tailscale");
    refresh("tailscale");
    EXPECT_THAT(coordinator->lastErrorByProviderID(), IsEmpty()) << "what works again has no error";
    EXPECT_THAT(coordinator->devicesByProviderID().at("tailscale"), IsEmpty());
    EXPECT_EQ(lines().back(), "Tailscale: listed 0 device(s)");
}

struct BadClient {
    const char* description;
    const char* tool;
    const char* error;
};

class AppCoordinatorBadClient : public AppCoordinatorProviders,
                                public ::testing::WithParamInterface<BadClient> {};

TEST_P(AppCoordinatorBadClient, becomes_an_error_that_says_why) {
    make();
    for (const std::string id : {"tailscale", "netbird"}) {
        SCOPED_TRACE(id);
        coordinator->setBinaryPath(fakes::toolPath(GetParam().tool), id);
        refresh(id);
        EXPECT_EQ(coordinator->lastErrorByProviderID().at(id), GetParam().error);
        EXPECT_THAT(coordinator->devicesByProviderID(), IsEmpty());
        EXPECT_EQ(lines().back(), "Failed to fetch " +
                                      coordinator->providersByID().at(id)->type().displayName +
                                      " devices: " + GetParam().error);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Clients, AppCoordinatorBadClient,
    ::testing::Values(
        BadClient{"missing", "client-that-does-not-exist",
                  "CLI not found at the configured path — check the path in Settings."},
        BadClient{"not_executable", "client-not-executable",
                  "CLI not found at the configured path — check the path in Settings."},
        BadClient{"without_interpreter", "client-without-interpreter",
                  "CLI exited with status -1: POSIXErrorCode(rawValue: 2): No such file or directory"},
        BadClient{"crashing", "client-crashes", "CLI exited with status 139"},
        BadClient{"failing_silently", "client-fails-silently", "CLI exited with status 7"},
        BadClient{"printing_200_megabytes", "client-floods",
                  "Couldn't parse the CLI's output: more than 64 MiB of output"},
        BadClient{"printing_errors_only", "client-only-errors",
                  "Couldn't parse the CLI's output: the text is not valid JSON (at byte 1)"}),
    [](const auto& instance) { return std::string(instance.param.description); });

TEST_F(AppCoordinatorProviders, valid_json_of_wrong_types_is_an_error) {
    make();
    coordinator->setBinaryPath(printing("a", R"({"Peer": [1, 2]})"), "tailscale");
    coordinator->setBinaryPath(printing("b", R"({"peers": {"details": [{"fqdn": 7}]}})"), "netbird");
    refresh("tailscale");
    refresh("netbird");
    EXPECT_THAT(coordinator->lastErrorByProviderID().at("tailscale"),
                ::testing::StartsWith("Couldn't parse the CLI's output: "));
    EXPECT_THAT(coordinator->lastErrorByProviderID().at("netbird"),
                ::testing::StartsWith("Couldn't parse the CLI's output: "));
    EXPECT_THAT(coordinator->devicesByProviderID(), IsEmpty());
}

TEST_F(AppCoordinatorProviders, two_refreshes_at_once_run_the_client_once) {
    make();
    const std::string path = printing("client", twoPeers);
    coordinator->setBinaryPath(path, "tailscale");
    int done = 0;
    for (int i = 0; i < 3; ++i)
        coordinator->refreshDevices("tailscale", [&] { ++done; });
    coordinator->refreshDevices("tailscale");
    ASSERT_TRUE(world.until([&] { return done == 3; }));
    EXPECT_THAT(runs(path), SizeIs(1));
    refresh("tailscale");
    EXPECT_THAT(runs(path), SizeIs(2)) << "a later one runs it again";
}

TEST_F(AppCoordinatorProviders, a_path_changed_during_a_refresh_makes_it_begin_anew) {
    make();
    const std::string hanging = client("hanging", "exec sleep 600");
    coordinator->setBinaryPath(hanging, "tailscale");
    int done = 0;
    coordinator->refreshDevices("tailscale", [&] { ++done; });
    ASSERT_TRUE(world.until([&] { return runs(hanging).size() == 1; }));
    coordinator->setBinaryPath(printing("client", twoPeers), "tailscale");
    coordinator->refreshDevices("tailscale", [&] { ++done; });
    ASSERT_TRUE(world.until([&] { return done == 2; }));
    EXPECT_THAT(coordinator->devicesByProviderID().at("tailscale"), SizeIs(2));
    ASSERT_TRUE(untilQuiet(withoutItsTimeLimit)) << "the abandoned run goes on";
    EXPECT_THAT(coordinator->lastErrorByProviderID(), IsEmpty()) << "the abandoned run left its error";
    EXPECT_EQ(done, 2);
    EXPECT_TRUE(fakes::waitUntil([&] { return ::kill(runs(hanging).at(0), 0) != 0; })) << "it still runs";
}

TEST_F(AppCoordinatorProviders, a_path_changed_while_nothing_runs_begins_nothing) {
    make();
    const std::string path = printing("client", twoPeers);
    coordinator->setBinaryPath(path, "tailscale");
    refresh("tailscale");
    coordinator->setBinaryPath(path, "tailscale");
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(runs(path), SizeIs(1));
}

TEST_F(AppCoordinatorProviders, a_client_that_hangs_holds_nothing_else_up) {
    make();
    const std::string hanging = client("hanging", "exec sleep 600");
    coordinator->setBinaryPath(hanging, "tailscale");
    coordinator->setBinaryPath(printing("client", R"({"peers": {"details": [{"fqdn": "a.b"}]}})"), "netbird");
    bool late = false;
    coordinator->refreshDevices("tailscale", [&] { late = true; });
    refresh("netbird");
    EXPECT_EQ(lines().back(), "Netbird: listed 1 device(s)");
    EXPECT_FALSE(late);
    ASSERT_TRUE(world.until([&] { return runs(hanging).size() == 1; }));
    coordinator.reset();
    ASSERT_TRUE(untilQuiet(withoutItsTimeLimit)) << "the client outlives its coordinator";
    EXPECT_FALSE(late);
}

TEST_F(AppCoordinatorProviders, an_unknown_provider_is_nothing_to_refresh_and_takes_no_path) {
    make();
    bool done = false;
    coordinator->refreshDevices("Tailscale", [&] { done = true; });
    coordinator->refreshDevices("manual");
    coordinator->setBinaryPath("/bin/true", "manual");
    EXPECT_FALSE(done);
    world.settle();
    EXPECT_TRUE(done);
    EXPECT_EQ(world.background.pending(), 0U);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(coordinator->lastErrorByProviderID(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(settingsFile()));
}

TEST_F(AppCoordinatorProviders, refreshes_all_that_are_installed_in_the_registrys_order) {
    make();
    const std::string tailscale = printing("ts", twoPeers);
    const std::string zerotier = client("zt", "exit 1");
    coordinator->setBinaryPath(tailscale, "tailscale");
    coordinator->setBinaryPath(zerotier, "zerotier");
    coordinator->setBinaryPath("/nowhere/netbird", "netbird");
    coordinator->refreshAllInstalledProviders();
    EXPECT_THAT(installed(), ElementsAre("tailscale", "zerotier"));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(runs(tailscale), SizeIs(1));
    EXPECT_THAT(runs(zerotier), IsEmpty()) << "its client is never run";
    EXPECT_THAT(coordinator->devicesByProviderID().at("zerotier"), IsEmpty());
    EXPECT_THAT(coordinator->lastErrorByProviderID(), IsEmpty());
    EXPECT_FALSE(coordinator->devicesByProviderID().contains("netbird"));
}

TEST_F(AppCoordinatorProviders, who_is_told_of_new_peers_may_begin_the_next_refresh) {
    make();
    const std::string path = printing("client", twoPeers);
    coordinator->setBinaryPath(path, "tailscale");
    std::vector<std::size_t> runsAtTheEnd;
    bool asked = false;
    const Subscription asking = coordinator->published.add([&](const Published& part) {
        if (part != Published::devices || std::exchange(asked, true)) return;
        coordinator->refreshDevices("tailscale", [&] { runsAtTheEnd.push_back(runs(path).size()); });
    });
    coordinator->refreshDevices("tailscale", [&] { runsAtTheEnd.push_back(0); });
    ASSERT_TRUE(world.until([&] { return runsAtTheEnd.size() == 2; }));
    EXPECT_THAT(runsAtTheEnd, ElementsAre(0U, 2U));
    ASSERT_TRUE(untilQuiet());
    EXPECT_THAT(runs(path), SizeIs(2));
}

TEST_F(AppCoordinatorProviders, who_waits_for_a_refresh_may_begin_the_next_one) {
    make();
    const std::string path = printing("client", twoPeers);
    coordinator->setBinaryPath(path, "tailscale");
    int done = 0;
    coordinator->refreshDevices("tailscale", [&] {
        ++done;
        coordinator->refreshDevices("tailscale", [&] { ++done; });
    });
    ASSERT_TRUE(world.until([&] { return done == 2; }));
    EXPECT_THAT(runs(path), SizeIs(2));
}

}  // namespace
}  // namespace quillbay
