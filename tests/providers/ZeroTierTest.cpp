#include <gtest/gtest.h>

#include "providers/ScriptedClient.h"
#include "providers/ZeroTierAdapter.h"

namespace quillbay {
namespace {

TEST(ZeroTierAdapter, lists_nothing_whether_or_not_it_is_installed) {
    EXPECT_TRUE(ZeroTierAdapter(toolPath("client-fails"), isExecutableFile).listDevices(StopToken()).empty());
    EXPECT_TRUE(ZeroTierAdapter("/nowhere", isExecutableFile).listDevices(StopToken()).empty());
}

TEST(ZeroTierAdapter, never_runs_its_client) {
    const fakes::TemporaryFolder folder;
    const std::string path = folder.path() / "zerotier-cli";
    std::ofstream(path) << "#!/bin/sh\ntouch \"$0.ran\"\n";
    ::chmod(path.c_str(), 0700);
    EXPECT_TRUE(ZeroTierAdapter(path, isExecutableFile).listDevices(StopToken()).empty());
    EXPECT_FALSE(std::filesystem::exists(path + ".ran"));
}

TEST(ZeroTierAdapter, is_installed_where_its_path_is_executable) {
    ZeroTierAdapter adapter(toolPath("client-fails"), isExecutableFile);
    EXPECT_TRUE(adapter.isInstalled());
    adapter.setBinaryPath(toolPath("client-not-executable"));
    EXPECT_FALSE(adapter.isInstalled());
}

}  // namespace
}  // namespace quillbay
