#include "platform/linux/AutostartEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class AutostartEntryTest : public ::testing::Test {
 protected:
    [[nodiscard]] std::string content() const {
        std::ostringstream text;
        text << std::ifstream(entry.file()).rdbuf();
        return text.str();
    }
    void write(const std::string& text) const {
        fs::create_directories(entry.file().parent_path());
        std::ofstream(entry.file()) << text;
    }

    fakes::TemporaryFolder folder;
    AutostartEntry entry{"/opt/quillbay/bin/quillbay", folder.path() / "config"};
};

TEST_F(AutostartEntryTest, is_off_until_it_is_switched_on_and_again_after_it_was_switched_off) {
    EXPECT_FALSE(entry.isEnabled());
    entry.enable();
    EXPECT_TRUE(entry.isEnabled());
    entry.disable();
    EXPECT_FALSE(entry.isEnabled());
    EXPECT_FALSE(fs::exists(entry.file()));
}

TEST_F(AutostartEntryTest, is_a_desktop_entry_in_the_autostart_folder) {
    entry.enable();
    EXPECT_EQ(entry.file(), folder.path() / "config/autostart/com.local.mirel.Quillbay.desktop");
    EXPECT_EQ(content(),
              "[Desktop Entry]\n"
              "Type=Application\n"
              "Version=1.4\n"
              "Name=Quillbay\n"
              "Comment=Wireless debugging of an iPhone that is far away\n"
              "Icon=com.local.mirel.Quillbay\n"
              "TryExec=/opt/quillbay/bin/quillbay\n"
              "Exec=\"/opt/quillbay/bin/quillbay\" --hidden\n"
              "Terminal=false\n"
              "X-GNOME-Autostart-enabled=true\n");
}

TEST_F(AutostartEntryTest, is_for_the_user_alone) {
    const mode_t own = ::umask(0);
    entry.enable();
    ::umask(own);
    EXPECT_EQ(fs::status(entry.file()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(AutostartEntryTest, switching_on_or_off_twice_is_no_error) {
    entry.enable();
    entry.enable();
    EXPECT_TRUE(entry.isEnabled());
    entry.disable();
    entry.disable();
    EXPECT_FALSE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, leaves_nothing_else_in_the_folder) {
    entry.enable();
    entry.enable();
    EXPECT_EQ(std::distance(fs::directory_iterator(entry.file().parent_path()), fs::directory_iterator()), 1);
}

TEST_F(AutostartEntryTest, an_entry_that_somebody_hid_is_off) {
    write("[Desktop Entry]\nExec=\"/opt/quillbay/bin/quillbay\" --hidden\nHidden=true\n");
    EXPECT_FALSE(entry.isEnabled());
    entry.enable();
    EXPECT_TRUE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, an_entry_that_the_desktop_switched_off_is_off) {
    write("[Desktop Entry]\nExec=/opt/quillbay/bin/quillbay\nX-GNOME-Autostart-enabled = false\n");
    EXPECT_FALSE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, an_entry_that_somebody_else_wrote_for_this_program_is_on) {
    write("# Mine\n[Desktop Entry]\r\nName=Q\nExec = /opt/quillbay/bin/quillbay\nHidden=false\n");
    EXPECT_TRUE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, an_entry_of_another_program_is_none_of_ours) {
    write("[Desktop Entry]\nExec=/usr/bin/other /opt/quillbay/bin/quillbay\n");
    EXPECT_FALSE(entry.isEnabled());
    write("[Desktop Entry]\nExec=\"/opt/quillbay/bin/quillbay-agent\"\n");
    EXPECT_FALSE(entry.isEnabled());
    write("[Desktop Entry]\nExec=\"/opt/old/bin/quillbay\" --hidden\n");
    EXPECT_FALSE(entry.isEnabled()) << "the program has moved since";
}

TEST_F(AutostartEntryTest, only_the_group_of_the_program_counts) {
    write("[Other]\nExec=/opt/quillbay/bin/quillbay\n[Desktop Entry]\nName=Q\n");
    EXPECT_FALSE(entry.isEnabled());
    write("[Desktop Entry]\nExec=/opt/quillbay/bin/quillbay\n[Desktop Action a]\nHidden=true\n");
    EXPECT_TRUE(entry.isEnabled());
    write("[Desktop Entry]\n#Hidden=true\nExec=/opt/quillbay/bin/quillbay\n");
    EXPECT_TRUE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, what_is_no_entry_is_off) {
    for (const char* text : {"", "\n", "=", "[Desktop Entry]", "[Desktop Entry]\nExec=\n",
                             "[Desktop Entry]\nExec=\"\n", "Exec=/opt/quillbay/bin/quillbay\n",
                             "[Desktop Entry]\nExec=\\", "\xff\xfe\n[Desktop Entry]\nExec\n"}) {
        write(text);
        EXPECT_FALSE(entry.isEnabled()) << text;
    }
    fs::remove(entry.file());
    fs::create_directory(entry.file());
    EXPECT_FALSE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, a_file_of_any_size_is_read_within_a_bound) {
    write("[Desktop Entry]\nExec=/opt/quillbay/bin/quillbay\n" + std::string(65'536, '#'));
    EXPECT_FALSE(entry.isEnabled());
}

TEST(AutostartEntryTexts, quote_what_a_command_line_and_the_file_would_read_otherwise) {
    EXPECT_THAT(autostartEntry("/my apps/quillbay"), HasSubstr("Exec=\"/my apps/quillbay\" --hidden\n"));
    EXPECT_THAT(autostartEntry("/100%/quillbay"), HasSubstr("Exec=\"/100%%/quillbay\" --hidden\n"));
    EXPECT_THAT(autostartEntry("/$HOME/q"), HasSubstr(R"(Exec="/\\$HOME/q" --hidden)"));
    EXPECT_THAT(autostartEntry("/a`b/q"), HasSubstr(R"(Exec="/a\\`b/q" --hidden)"));
    EXPECT_THAT(autostartEntry("/a\"b/q"), HasSubstr(R"(Exec="/a\\"b/q" --hidden)"));
    EXPECT_THAT(autostartEntry("/a\\b/q"), HasSubstr(R"(Exec="/a\\\\b/q" --hidden)"));
    EXPECT_THAT(autostartEntry("/a\\b/q"), HasSubstr(R"(TryExec=/a\\b/q)"));
    EXPECT_THAT(autostartEntry("/a\nb/q"), HasSubstr("Exec=\"/a\\nb/q\" --hidden\n"));
}

TEST(AutostartEntryTexts, are_read_back_whatever_the_path) {
    for (const char* program :
         {"/usr/bin/quillbay", "/my apps/q", "/100%/q", "/%f/%%/q", "/$HOME/q", "/a`b/q", "/a\"b/q",
          "/a\\b/q", "/a\\nb/q", "/a\\\\\"$`%/q", "/a\nHidden=true\nb/q", "/a\tb\rc/q",
          "/Anwendungen/Übung/q", "/a=b;c#d/q", "/a'b/q"}) {
        EXPECT_TRUE(autostarts(autostartEntry(program), program)) << program;
        EXPECT_FALSE(autostarts(autostartEntry(program), std::string(program) + "2")) << program;
    }
}

TEST_F(AutostartEntryTest, says_in_a_sentence_why_it_cannot_be_switched_on) {
    // No folder can be made where a file lies, whoever asks.
    std::ofstream(folder.path() / "config") << "a file";
    try {
        entry.enable();
        FAIL() << "switched on";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "Launch at login could not be switched on. " +
                                                 entry.file().string() +
                                                 " cannot be written: Not a directory.");
    }
    EXPECT_FALSE(entry.isEnabled());
    EXPECT_NO_THROW(entry.disable()) << "there is nothing to remove";
}

TEST_F(AutostartEntryTest, says_in_a_sentence_why_it_cannot_be_switched_off) {
    fs::create_directories(entry.file());
    try {
        entry.disable();
        FAIL() << "switched off";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "Launch at login could not be switched off. " +
                                                 entry.file().string() +
                                                 " cannot be removed: Is a directory.");
    }
}

TEST(LaunchAtLoginOfThisComputer, keeps_its_entry_where_the_environment_says) {
    const fakes::TemporaryFolder folder;
    ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    const auto launchAtLogin = LaunchAtLogin::system("/usr/bin/quillbay");
    EXPECT_FALSE(launchAtLogin->isEnabled());
    launchAtLogin->enable();
    EXPECT_TRUE(fs::exists(folder.path() / "autostart/com.local.mirel.Quillbay.desktop"));
    EXPECT_TRUE(launchAtLogin->isEnabled());
    ::unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
}  // namespace quillbay
