// The setting "Only this computer may use the bridge".
#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/CoordinatorFixture.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Published = AppCoordinator::Published;

class AppCoordinatorAccessTest : public CoordinatorTest {
 protected:
    [[nodiscard]] fs::path file() const {
        return world.host.files.configuration / "Quillbay" / "settings.json";
    }
    void writeSettings(const std::string& text) const {
        fs::create_directories(file().parent_path());
        std::ofstream(file()) << text;
    }
    [[nodiscard]] std::string settings() const {
        std::ostringstream text;
        text << std::ifstream(file()).rdbuf();
        return text.str();
    }
};

TEST_F(AppCoordinatorAccessTest, everybody_may_use_the_bridge_unless_it_was_restricted) {
    make();
    EXPECT_FALSE(coordinator->onlyThisComputer());
    EXPECT_FALSE(fs::exists(file()));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(AppCoordinatorAccessTest, the_setting_is_kept_told_and_logged) {
    make();
    EXPECT_EQ(coordinator->setOnlyThisComputer(true), std::nullopt);
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_EQ(changes[Published::access], 1);
    EXPECT_EQ(settings(), "{\n  \"bridge.onlyThisComputer\": true\n}\n");
    EXPECT_EQ(coordinator->setOnlyThisComputer(false), std::nullopt);
    EXPECT_FALSE(coordinator->onlyThisComputer());
    EXPECT_EQ(settings(), "{\n  \"bridge.onlyThisComputer\": false\n}\n");
    EXPECT_THAT(lines(), ElementsAre("From now on only this computer may use the bridge",
                                     "From now on other computers may use the bridge, too"));
}

TEST_F(AppCoordinatorAccessTest, the_setting_holds_in_the_next_run) {
    writeSettings(R"({"bridge.onlyThisComputer": true, "other": 1})");
    make();
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_THAT(coordinator->logs().diagnosticLines(),
                Contains(HasSubstr("Only this computer may use the bridge")));
    coordinator->setOnlyThisComputer(false);
    EXPECT_EQ(settings(), "{\n  \"bridge.onlyThisComputer\": false,\n  \"other\": 1\n}\n");
    coordinator.reset();
    make();
    EXPECT_FALSE(coordinator->onlyThisComputer());
}

TEST_F(AppCoordinatorAccessTest, settings_that_cannot_be_understood_never_open_the_bridge) {
    for (const char* damaged :
         {"{broken", R"({"bridge.onlyThisComputer": "on"})", R"([])", R"({"bridge.onlyThisComputer": 1})"}) {
        writeSettings(damaged);
        make();
        EXPECT_TRUE(coordinator->onlyThisComputer()) << damaged;
        coordinator.reset();
    }
    for (const char* open :
         {"{}", R"({"bridge.onlyThisComputer": false})", R"({"bridge.onlyThisComputer": null})"}) {
        writeSettings(open);
        make();
        EXPECT_FALSE(coordinator->onlyThisComputer()) << open;
        coordinator.reset();
    }
}

TEST_F(AppCoordinatorAccessTest, a_setting_that_cannot_be_saved_holds_until_the_end_of_the_run) {
    make();
    writeSettings("{broken");
    EXPECT_THAT(
        coordinator->setOnlyThisComputer(true).value_or(""),
        StartsWith("the settings in " + file().string() + " cannot be read and are left as they are"));
    EXPECT_TRUE(coordinator->onlyThisComputer());
    EXPECT_THAT(lines().back(), StartsWith("Who may use the bridge could not be saved: the settings in "));
    EXPECT_EQ(settings(), "{broken");
}

TEST_F(AppCoordinatorAccessTest, saying_the_same_again_saves_it_and_logs_nothing) {
    make();
    coordinator->setOnlyThisComputer(false);
    EXPECT_EQ(settings(), "{\n  \"bridge.onlyThisComputer\": false\n}\n");
    EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace
}  // namespace quillbay
