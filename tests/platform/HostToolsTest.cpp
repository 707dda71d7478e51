#include "platform/HostTools.h"

#include <gmock/gmock.h>

#include <fstream>

#include "fakes/TemporaryFolder.h"
#include "platform/linux/HostToolPaths.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A host with nothing installed.
class HostToolsTest : public ::testing::Test {
 protected:
    HostToolsTest() { fs::create_directories(folder_.path() / "usr/bin"); }
    void install(const std::string& path) const { std::ofstream(root_ / path) << "tool"; }
    [[nodiscard]] std::string below(const std::string& path) const { return (root_ / path).string(); }

    fakes::TemporaryFolder folder_;
    const fs::path& root_ = folder_.path();
};

TEST_F(HostToolsTest, uses_the_bundled_dns_sd_where_none_is_installed) {
    EXPECT_EQ(hostToolsBelow(root_, "/opt/quillbay/bin").dnsSD.executable,
              "/opt/quillbay/libexec/quillbay/dns-sd");
    install("usr/bin/dns-sd");
    const HostTools tools = hostToolsBelow(root_, "/opt/quillbay/bin");
    EXPECT_EQ(tools.dnsSD.executable, below("usr/bin/dns-sd"));
    EXPECT_THAT(tools.dnsSD.leadingArguments, IsEmpty());
}

TEST_F(HostToolsTest, follows_the_journal_where_there_is_no_log_tool) {
    const HostTools tools = hostToolsBelow(root_, "/bin");
    EXPECT_EQ(tools.logFollower.executable, below("usr/bin/journalctl"));
    EXPECT_THAT(tools.logFollower.leadingArguments,
                ElementsAre("--follow", "--lines=0", "--output=cat", "--identifier=remotepairingd"));
}

TEST_F(HostToolsTest, follows_the_log_tool_with_the_predicate_where_it_is_installed) {
    install("usr/bin/log");
    const HostTools tools = hostToolsBelow(root_, "/bin");
    EXPECT_EQ(tools.logFollower.executable, below("usr/bin/log"));
    EXPECT_THAT(
        tools.logFollower.leadingArguments,
        ElementsAre("stream", "--style", "compact", "--predicate",
                    "process == \"remotepairingd\" AND eventMessage CONTAINS \"Got tunnel endpoint\""));
}

TEST_F(HostToolsTest, finds_the_other_tools_at_their_fixed_paths) {
    const HostTools tools = HostTools::system("/bin");
    EXPECT_EQ(tools.xcrun.executable, "/usr/bin/xcrun");
    EXPECT_EQ(tools.ps.executable, "/bin/ps");
    EXPECT_EQ(tools.zip.executable, "/usr/bin/zip");
    EXPECT_EQ(tools.opener.executable, "/usr/bin/xdg-open");
    EXPECT_EQ(tools.mailComposer.executable, "/usr/bin/xdg-email");
    EXPECT_THAT(tools.xcrun.leadingArguments, IsEmpty());
}

TEST_F(HostToolsTest, packs_without_the_options_that_a_person_has_set_for_zip) {
    EXPECT_THAT(HostTools::system("/bin").zip.environment,
                ElementsAre(Pair("ZIP", std::nullopt), Pair("ZIPOPT", std::nullopt)));
}

TEST_F(HostToolsTest, knows_the_folder_of_the_running_program) {
    EXPECT_TRUE(programDirectory().is_absolute());
    EXPECT_TRUE(fs::exists(programDirectory() / "platform_child_test"));
}

}  // namespace
}  // namespace quillbay
