#include "discovery/DeviceCtlLister.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <system_error>
#include <thread>

#include "discovery/DeviceCtlListerError.h"
#include "fakes/Leaks.h"
#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Kind = DeviceCtlListerError::Kind;

class DeviceCtlListerTest : public testing::Test {
 protected:
    void TearDown() override {
        EXPECT_TRUE(fs::is_empty(temporary_)) << "a temporary file was left";
        // The thread that saw a child end lets go of it a moment after the call has returned.
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (fakes::openDescriptors() != descriptors_ && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(milliseconds(1));
        EXPECT_EQ(fakes::openDescriptors(), descriptors_);
    }

    DeviceCtlLister lister(const std::vector<std::string>& manner) {
        HostTools tools;
        tools.xcrun = {QUILLBAY_TEST_TOOLS "/fake-xcrun", manner};
        return {tools, files(), random_};
    }
    DeviceCtlLister listerOf(const std::string& devices) {
        document_ = (folder_.path() / "document.json").string();
        std::ofstream(document_) << R"({"result": {"devices": [)" + devices + "]}}";
        return lister({"lists", document_});
    }
    [[nodiscard]] FileLocations files() const {
        return {folder_.path(), folder_.path(), temporary_, folder_.path()};
    }

    static DeviceCtlListerError failureOf(const DeviceCtlLister& lister, const StopToken& token = {}) {
        try {
            (void)lister.listDevices(token);
        } catch (const DeviceCtlListerError& error) {
            return error;
        }
        ADD_FAILURE() << "the listing succeeded";
        return DeviceCtlListerError::decodingFailed();
    }

    static std::string device(const std::string& id, const std::string& host, const std::string& state) {
        return R"({"identifier": ")" + id + R"(", "connectionProperties": {"potentialHostnames": [")" + host +
               R"("], "tunnelState": ")" + state + R"("}})";
    }

    std::size_t descriptors_ = fakes::openDescriptors();
    fakes::TemporaryFolder folder_;
    fs::path temporary_ = [this] {
        fs::create_directory(folder_.path() / "tmp");
        return folder_.path() / "tmp";
    }();
    SystemRandomSource random_;
    std::string document_;
};

TEST_F(DeviceCtlListerTest, lists_what_the_tool_wrote_in_its_order) {
    const auto devices = listerOf(R"({"identifier": "B"}, {"identifier": "A"})").listDevices();
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].identifier, "B");
    EXPECT_EQ(devices[1].identifier, "A");
}

TEST_F(DeviceCtlListerTest, what_the_tool_writes_can_be_read_by_this_user_alone) {
    const mode_t own = ::umask(022);
    EXPECT_EQ(listerOf(R"({"identifier": "A"})").listDevices().size(), 1U);
    ::umask(own);
    std::string mode;
    std::getline(std::ifstream(document_ + ".mode"), mode);
    EXPECT_EQ(mode, "-rw-------");
}

TEST_F(DeviceCtlListerTest, a_status_other_than_zero_is_a_failed_process) {
    listerOf(R"({"identifier": "A"})");
    const auto error = failureOf(lister({"fails", document_}));
    EXPECT_EQ(error.kind(), Kind::processFailed);
    EXPECT_EQ(error.status(), 3);
    EXPECT_FALSE(error.launchError());
    EXPECT_STREQ(error.what(), "processFailed(status: 3)");
}

TEST_F(DeviceCtlListerTest, an_end_by_a_signal_is_a_failed_process) {
    const auto error = failureOf(lister({"crashes"}));
    EXPECT_EQ(error.kind(), Kind::processFailed);
    EXPECT_EQ(error.status(), 137);
}

TEST_F(DeviceCtlListerTest, a_missing_tool_fails_fast_with_the_launch_error) {
    HostTools tools;
    tools.xcrun = {"/nonexistent/xcrun", {}};
    const DeviceCtlLister lister(tools, files(), random_);
    const auto begin = std::chrono::steady_clock::now();
    const auto error = failureOf(lister);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(500));
    EXPECT_EQ(error.kind(), Kind::processFailed);
    EXPECT_FALSE(error.status());
    try {
        ASSERT_TRUE(error.launchError());
        std::rethrow_exception(error.launchError());
    } catch (const std::system_error& cause) {
        EXPECT_EQ(cause.code().value(), ENOENT);
    }
    EXPECT_TRUE(lister.nameByUDID().empty());
    EXPECT_FALSE(lister.tunnelState("phone.local"));
}

TEST_F(DeviceCtlListerTest, a_file_that_is_missing_or_no_list_is_a_failed_decoding) {
    EXPECT_EQ(failureOf(lister({"writes-nothing"})).kind(), Kind::decodingFailed);
    EXPECT_EQ(failureOf(listerOf("{}")).kind(), Kind::decodingFailed);
    EXPECT_STREQ(failureOf(listerOf("]")).what(), "decodingFailed");
}

TEST_F(DeviceCtlListerTest, a_document_beyond_all_measure_is_a_failed_decoding) {
    listerOf("");
    fs::resize_file(document_, std::uintmax_t{17} * 1024 * 1024);
    EXPECT_EQ(failureOf(lister({"lists", document_})).kind(), Kind::decodingFailed);
}

TEST_F(DeviceCtlListerTest, a_stop_ends_the_tool_and_the_call) {
    const fs::path pidFile = folder_.path() / "pid";
    const StopSource source;
    const DeviceCtlLister hanging = lister({"hangs", pidFile.string()});
    auto listing = std::async(std::launch::async, [&] { return failureOf(hanging, source.token()); });
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while ((!fs::exists(pidFile) || fs::is_empty(pidFile)) && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(milliseconds(1));
    pid_t pid = 0;
    std::ifstream(pidFile) >> pid;
    ASSERT_GT(pid, 0);

    const auto begin = std::chrono::steady_clock::now();
    source.requestStop();
    const auto error = listing.get();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(1500));
    EXPECT_EQ(error.kind(), Kind::processFailed);
    EXPECT_FALSE(error.status());
    EXPECT_FALSE(error.launchError());
    EXPECT_EQ(::kill(pid, 0), -1);
}

TEST_F(DeviceCtlListerTest, names_are_by_udid_in_upper_case_for_devices_that_have_both) {
    const auto names = listerOf(R"(
        {"identifier": "1", "hardwareProperties": {"udid": "00008110-abcdef"}, "deviceProperties": {"name": "Anna"}},
        {"identifier": "2", "hardwareProperties": {"udid": "00008110-0002"}},
        {"identifier": "3", "deviceProperties": {"name": "Nobody"}},
        {"identifier": "4", "hardwareProperties": {"udid": "F"}, "deviceProperties": {"name": ""}})")
                           .nameByUDID();
    EXPECT_EQ(names, (std::map<std::string, std::string>{{"00008110-ABCDEF", "Anna"}, {"F", ""}}));
}

TEST_F(DeviceCtlListerTest, there_are_no_names_when_the_tool_fails) {
    EXPECT_TRUE(lister({"crashes"}).nameByUDID().empty());
}

TEST_F(DeviceCtlListerTest, finds_the_tunnel_state_by_any_of_the_devices_host_names) {
    const auto lister = listerOf(R"({"identifier": "1", "connectionProperties": {"potentialHostnames":
        ["other.coredevice.local", "iPhone.coredevice.local."], "tunnelState": "disconnected"}})");
    EXPECT_EQ(lister.tunnelState("IPHONE.local."), "disconnected");
    EXPECT_EQ(lister.tunnelState("other"), "disconnected");
    EXPECT_FALSE(lister.tunnelState("phone.local"));
}

TEST_F(DeviceCtlListerTest, a_host_with_a_conflict_suffix_matches_without_it_and_a_suffix_of_1_does_not) {
    const auto lister = listerOf(device("1", "iphone.coredevice.local", "connected"));
    EXPECT_EQ(lister.tunnelState("iPhone-3.local"), "connected");
    EXPECT_FALSE(lister.tunnelState("iPhone-1.local"));
}

TEST_F(DeviceCtlListerTest, a_device_that_really_has_the_suffix_wins_over_the_shortened_name) {
    const auto lister = listerOf(device("1", "iphone.local", "connected") + "," +
                                 device("2", "iphone-3.local", "unavailable"));
    EXPECT_EQ(lister.tunnelState("iPhone-3.local"), "unavailable");
}

TEST_F(DeviceCtlListerTest, of_two_devices_with_the_same_base_name_the_first_wins) {
    const auto lister = listerOf(device("1", "phone.coredevice.local", "connecting") + "," +
                                 device("2", "phone.local", "unavailable"));
    EXPECT_EQ(lister.tunnelState("phone.local"), "connecting");
}

TEST_F(DeviceCtlListerTest, a_device_without_a_tunnel_state_yields_none) {
    const auto lister = listerOf(
        R"({"identifier": "1", "connectionProperties": {"potentialHostnames": ["phone-2.local"]}},)" +
        device("2", "phone-2.local", "connected") + "," + device("3", "phone.local", "connected"));
    EXPECT_EQ(lister.tunnelState("phone-2.local"), std::nullopt);
}

TEST_F(DeviceCtlListerTest, calls_may_overlap) {
    const auto lister = listerOf(device("1", "phone.local", "connected"));
    std::vector<std::future<std::optional<std::string>>> answers;
    for (int i = 0; i < 8; ++i)
        answers.push_back(std::async(std::launch::async, [&] { return lister.tunnelState("phone.local"); }));
    for (auto& answer : answers)
        EXPECT_EQ(answer.get(), "connected");
}

}  // namespace
}  // namespace quillbay
