#include "profile/DeviceProfileStore.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "fakes/TemporaryFolder.h"
#include "profile/DeviceProfileJSON.h"
#include "profile/ProfileExamples.h"

namespace quillbay {
namespace {

using fakes::TemporaryFolder;

DeviceProfile profileOf(const std::string& host, std::optional<std::string> provider = "tailscale") {
    DeviceProfile profile = DeviceProfile::draft("phone at " + host);
    profile.bonjourHost = host;
    profile.providerID = std::move(provider);
    return profile;
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status{};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

std::ptrdiff_t filesBeside(const std::filesystem::path& path) {
    return std::distance(std::filesystem::directory_iterator(path.parent_path()), {});
}

class DeviceProfileStoreTest : public testing::Test {
 protected:
    TemporaryFolder folder_;
    DeviceProfileStore store_{locationsIn(folder_.path()), "Quillbay"};
};

TEST_F(DeviceProfileStoreTest, keeps_its_file_in_the_application_folder) {
    EXPECT_EQ(store_.fileURL(), folder_.path() / "support" / "Quillbay" / "devices.json");
    EXPECT_TRUE(std::filesystem::is_directory(folder_.path() / "support" / "Quillbay"));
    EXPECT_EQ(modeOf(store_.fileURL().parent_path()), 0700U);
}

TEST_F(DeviceProfileStoreTest, writes_a_file_for_the_user_alone) {
    store_.save({exampleProfile()});
    EXPECT_EQ(modeOf(store_.fileURL()), 0600U);
}

TEST_F(DeviceProfileStoreTest, removes_at_the_start_what_a_killed_writer_left) {
    store_.save({exampleProfile()});
    const auto leftOver = store_.fileURL().parent_path() / ".devices.json.0123456789abcdef.quillbay-partial";
    ASSERT_GE(::close(::open(leftOver.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)), 0);
    const DeviceProfileStore next(locationsIn(folder_.path()), "Quillbay");
    EXPECT_EQ(filesBeside(store_.fileURL()), 1);
    EXPECT_EQ(next.load(), std::vector{exampleProfile()});
}

TEST_F(DeviceProfileStoreTest, loads_nothing_without_a_file_and_creates_none) {
    EXPECT_TRUE(store_.load().empty());
    EXPECT_FALSE(std::filesystem::exists(store_.fileURL()));
}

TEST_F(DeviceProfileStoreTest, loads_what_was_saved) {
    const std::vector<DeviceProfile> profiles{exampleProfile(), profileOf("b")};
    store_.save(profiles);
    EXPECT_EQ(store_.load(), profiles);
    EXPECT_EQ(DeviceProfileStore(locationsIn(folder_.path()), "Quillbay").load(), profiles);
}

TEST_F(DeviceProfileStoreTest, loads_an_empty_list_from_a_bad_file_and_leaves_it_alone) {
    const std::string good = encodeProfiles({exampleProfile(), profileOf("b")});
    std::string missingTXT = good;
    missingTXT.replace(missingTXT.rfind("txtRecord"), 9, "txtrecord");
    for (const std::string& bad :
         {std::string(), good.substr(0, good.size() - 1), std::string("[1,2,3]"), std::string("[[],{},null]"),
          std::string("{\"a\":1}"), std::string(100'000, '['), missingTXT, std::string("\0\0\0\0", 4)}) {
        setContent(store_.fileURL(), bad);
        EXPECT_TRUE(store_.load().empty()) << bad.substr(0, 40);
        EXPECT_EQ(contentOf(store_.fileURL()), bad);
    }
}

TEST_F(DeviceProfileStoreTest, loads_an_empty_list_when_any_element_lacks_its_txt_record) {
    auto document = nlohmann::json::parse(encodeProfiles({exampleProfile(), profileOf("b"), profileOf("c")}));
    document.at(1).erase("txtRecord");
    setContent(store_.fileURL(), document.dump());
    EXPECT_TRUE(store_.load().empty());
}

TEST_F(DeviceProfileStoreTest, overwrites_a_corrupt_file_with_the_new_profile_only) {
    setContent(store_.fileURL(), "[{\"displayName\": ");
    store_.upsert(exampleProfile());
    EXPECT_EQ(store_.load(), std::vector{exampleProfile()});
    EXPECT_EQ(filesBeside(store_.fileURL()), 1);
}

TEST_F(DeviceProfileStoreTest, replaces_a_profile_of_the_same_identity_in_its_place) {
    store_.save({profileOf("a"), profileOf("b"), profileOf("c")});
    DeviceProfile changed = profileOf("b");
    changed.displayName = "renamed";
    changed.remotePairingPort = 50000;
    store_.upsert(changed);
    EXPECT_EQ(store_.load(), (std::vector{profileOf("a"), changed, profileOf("c")}));
}

TEST_F(DeviceProfileStoreTest, replaces_only_the_first_of_several_with_the_same_identity) {
    store_.save({profileOf("a"), profileOf("a"), profileOf("b")});
    DeviceProfile changed = profileOf("a");
    changed.displayName = "renamed";
    store_.upsert(changed);
    EXPECT_EQ(store_.load(), (std::vector{changed, profileOf("a"), profileOf("b")}));
}

TEST_F(DeviceProfileStoreTest, appends_a_profile_of_a_new_identity) {
    store_.upsert(profileOf("a"));
    store_.upsert(profileOf("a", "zerotier"));
    EXPECT_EQ(store_.load(), (std::vector{profileOf("a"), profileOf("a", "zerotier")}));
}

TEST_F(DeviceProfileStoreTest, replaces_an_empty_provider_by_an_absent_one) {
    store_.upsert(profileOf("host", ""));
    DeviceProfile absent = profileOf("host", std::nullopt);
    EXPECT_EQ(absent.id(), "host#");
    store_.upsert(absent);
    const std::vector<DeviceProfile> loaded = store_.load();
    ASSERT_EQ(loaded.size(), 1U);
    // Absent is read as the provider of old files.
    EXPECT_EQ(loaded.at(0).providerID, "tailscale");
}

TEST_F(DeviceProfileStoreTest, removes_every_profile_of_the_identity_and_keeps_the_order) {
    store_.save({profileOf("a"), profileOf("b"), profileOf("c"), profileOf("b")});
    store_.remove("b#tailscale");
    EXPECT_EQ(store_.load(), (std::vector{profileOf("a"), profileOf("c")}));
}

TEST_F(DeviceProfileStoreTest, rewrites_the_file_unchanged_when_nothing_is_to_be_removed) {
    store_.save({profileOf("a"), profileOf("b")});
    const std::string before = contentOf(store_.fileURL());
    struct stat first{};
    struct stat second{};
    ASSERT_EQ(::stat(store_.fileURL().c_str(), &first), 0);
    const int held =
        ::open(store_.fileURL().c_str(), O_RDONLY | O_CLOEXEC);  // so its number is not given again
    store_.remove("nobody#");
    ASSERT_EQ(::stat(store_.fileURL().c_str(), &second), 0);
    ::close(held);
    EXPECT_EQ(contentOf(store_.fileURL()), before);
    EXPECT_NE(first.st_ino, second.st_ino);
}

TEST_F(DeviceProfileStoreTest, rewrites_an_old_file_in_the_new_form) {
    setContent(store_.fileURL(), R"([{"displayName": "Phone", "bonjourName": "n", "bonjourHost": "h",
        "serviceType": "_remotepairing._tcp", "remotePairingPort": 1, "tunnelPortRangeStart": 2,
        "tunnelPortRangeEnd": 3, "txtRecord": {}, "tailscaleHostName": "peer", "tailscaleIP": "100.64.0.1"}])");
    store_.remove("nobody#");
    EXPECT_EQ(nlohmann::json::parse(contentOf(store_.fileURL())),
              nlohmann::json::parse(R"([{"displayName": "Phone", "bonjourName": "n", "bonjourHost": "h",
        "serviceType": "_remotepairing._tcp", "remotePairingPort": 1, "tunnelPortRangeStart": 2,
        "tunnelPortRangeEnd": 3, "txtRecord": {}, "providerID": "tailscale", "providerHostName": "peer",
        "providerIP": "100.64.0.1"}])"));
}

TEST_F(DeviceProfileStoreTest, reads_the_file_anew_every_time) {
    store_.save({profileOf("a")});
    setContent(store_.fileURL(), encodeProfiles({profileOf("b")}));
    store_.upsert(profileOf("c"));
    EXPECT_EQ(store_.load(), (std::vector{profileOf("b"), profileOf("c")}));
}

TEST_F(DeviceProfileStoreTest, lives_with_a_folder_that_cannot_be_made) {
    setContent(folder_.path() / "file", "in the way");
    FileLocations files = locationsIn(folder_.path());
    files.applicationSupport = folder_.path() / "file";
    const DeviceProfileStore store(files, "Quillbay");
    store.upsert(exampleProfile());
    EXPECT_TRUE(store.load().empty());
    EXPECT_EQ(contentOf(folder_.path() / "file"), "in the way");
}

TEST_F(DeviceProfileStoreTest, reads_nothing_from_a_folder_or_a_pipe_of_the_files_name) {
    std::filesystem::create_directory(store_.fileURL());
    EXPECT_TRUE(store_.load().empty());
    store_.save({exampleProfile()});
    EXPECT_TRUE(std::filesystem::is_directory(store_.fileURL()));
    std::filesystem::remove(store_.fileURL());
    ASSERT_EQ(::mkfifo(store_.fileURL().c_str(), 0600), 0);
    EXPECT_TRUE(store_.load().empty());
}

TEST_F(DeviceProfileStoreTest, loads_a_file_of_fifty_megabytes_and_refuses_one_beyond_the_limit) {
    DeviceProfile profile = exampleProfile();
    profile.txtRecord["long"] = std::string(1000, 'x');
    std::vector<DeviceProfile> profiles(38'000, profile);
    store_.save(profiles);
    ASSERT_GT(std::filesystem::file_size(store_.fileURL()), 50'000'000U);
    EXPECT_EQ(store_.load().size(), 38'000U);
    profiles.resize(50'000, profile);
    store_.save(profiles);
    ASSERT_GT(std::filesystem::file_size(store_.fileURL()), DeviceProfileStore::maxFileBytes);
    EXPECT_TRUE(store_.load().empty());
}

TEST_F(DeviceProfileStoreTest, never_shows_half_a_list_to_readers_on_other_threads) {
    const std::vector<DeviceProfile> few(1, exampleProfile());
    const std::vector<DeviceProfile> many(50, exampleProfile());
    store_.save(few);
    std::thread writer([&] {
        for (int i = 0; i < 50; ++i)
            store_.save(i % 2 == 0 ? many : few);
    });
    const DeviceProfileStore other(locationsIn(folder_.path()), "Quillbay");
    for (int i = 0; i < 200; ++i) {
        const std::size_t count = (i % 2 == 0 ? store_ : other).load().size();
        EXPECT_TRUE(count == 1 || count == 50) << count;
    }
    writer.join();
}

/// Saves the two lists in turn until it is killed.
[[noreturn]] void saveForEver(const FileLocations& files, const std::vector<DeviceProfile>& one,
                              const std::vector<DeviceProfile>& other) {
    const DeviceProfileStore store(files, "Quillbay");
    while (true) {
        store.save(one);
        store.save(other);
    }
}

// No store lives while this test forks: a child of a process with several threads may only do very little.
TEST(DeviceProfileStore, leaves_the_old_or_the_new_file_when_killed_while_saving) {
    const TemporaryFolder folder;
    const FileLocations files = locationsIn(folder.path());
    const std::vector<DeviceProfile> one(300, exampleProfile());
    const std::vector<DeviceProfile> other(200, profileOf("b"));
    DeviceProfileStore(files, "Quillbay").save(one);
    std::mt19937 random(20261120);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) saveForEver(files, one, other);
        // The moment is the point here: anywhere within the first saves.
        ::usleep(static_cast<useconds_t>(random() % 20'000));
        ::kill(child, SIGKILL);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        const std::vector<DeviceProfile> found = DeviceProfileStore(files, "Quillbay").load();
        EXPECT_TRUE(found == one || found == other) << "round " << round << ": " << found.size();
    }
    const DeviceProfileStore store(files, "Quillbay");
    store.save(one);
    EXPECT_EQ(store.load(), one);
    EXPECT_EQ(filesBeside(store.fileURL()), 1) << "what killed runs left behind is still there";
}

}  // namespace
}  // namespace quillbay
