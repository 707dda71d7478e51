#include "platform/SettingsStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <system_error>

#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

using ::testing::HasSubstr;

class SettingsStoreTest : public ::testing::Test {
 protected:
    [[nodiscard]] std::filesystem::path file() const {
        return folder_.path() / "config" / "Quillbay" / "settings.json";
    }
    void write(const std::string& text) const {
        std::filesystem::create_directories(file().parent_path());
        std::ofstream(file(), std::ios::binary) << text;
    }
    [[nodiscard]] std::string content() const {
        std::ostringstream text;
        text << std::ifstream(file(), std::ios::binary).rdbuf();
        return text.str();
    }
    [[nodiscard]] static unsigned mode(const std::filesystem::path& path) {
        struct stat status{};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 0777U;
    }
    /// The text of the std::runtime_error that a change fails with, which leaves the file as it is.
    std::string refusal() {
        const std::string before = content();
        std::string text;
        try {
            store.setString("key", "value");
            ADD_FAILURE() << "no error";
        } catch (const std::runtime_error& error) {
            text = error.what();
        }
        EXPECT_THROW(store.remove("key"), std::runtime_error);
        EXPECT_EQ(content(), before);
        return text;
    }

    [[nodiscard]] FileLocations locations() const {
        return {folder_.path() / "data", folder_.path() / "config", folder_.path(), folder_.path()};
    }

    fakes::TemporaryFolder folder_;
    SettingsStore store{locations()};
};

TEST_F(SettingsStoreTest, knows_nothing_at_first_and_makes_no_file) {
    EXPECT_EQ(store.string("key"), std::nullopt);
    store.remove("key");
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "config"));
}

TEST_F(SettingsStoreTest, gives_back_what_was_set) {
    store.setString("meshvpn.binaryPath.tailscale", "/opt/\u00FC \"x\"\\\n");
    store.setString("empty", "");
    EXPECT_EQ(store.string("meshvpn.binaryPath.tailscale"), "/opt/\u00FC \"x\"\\\n");
    EXPECT_EQ(store.string("empty"), "");
    EXPECT_EQ(store.string("other"), std::nullopt);
    store.setString("empty", "no more");
    EXPECT_EQ(store.string("empty"), "no more");
    store.remove("empty");
    EXPECT_EQ(store.string("empty"), std::nullopt);
    EXPECT_EQ(content(), "{\n  \"meshvpn.binaryPath.tailscale\": \"/opt/\u00FC \\\"x\\\"\\\\\\n\"\n}\n");
}

TEST_F(SettingsStoreTest, keeps_truth_values_apart_from_texts) {
    EXPECT_EQ(store.boolean("flag"), std::nullopt);
    EXPECT_FALSE(store.has("flag"));
    store.setBoolean("flag", true);
    store.setString("text", "true");
    EXPECT_EQ(store.boolean("flag"), true);
    EXPECT_EQ(store.string("flag"), std::nullopt);
    EXPECT_EQ(store.boolean("text"), std::nullopt);
    EXPECT_TRUE(store.has("text"));
    store.setBoolean("flag", false);
    EXPECT_EQ(store.boolean("flag"), false);
    EXPECT_TRUE(store.has("flag"));
    EXPECT_EQ(content(), "{\n  \"flag\": false,\n  \"text\": \"true\"\n}\n");
}

TEST_F(SettingsStoreTest, removes_at_the_start_what_a_killed_writer_left) {
    store.setString("key", "value");
    const auto leftOver = file().parent_path() / ".settings.json.0123456789abcdef.quillbay-partial";
    std::ofstream(leftOver) << "{";
    const SettingsStore next(locations());
    EXPECT_FALSE(std::filesystem::exists(leftOver));
    EXPECT_EQ(next.string("key"), "value");
}

TEST_F(SettingsStoreTest, keeps_the_file_from_others) {
    store.setString("key", "value");
    EXPECT_EQ(mode(file()), 0600U);
    EXPECT_EQ(mode(file().parent_path()), 0700U);
    EXPECT_EQ(mode(folder_.path() / "config"), 0700U);
}

TEST_F(SettingsStoreTest, reads_what_was_changed_by_hand) {
    store.setString("key", "value");
    write(R"({"key": "changed"})");
    EXPECT_EQ(store.string("key"), "changed");
}

TEST_F(SettingsStoreTest, keeps_what_it_does_not_know_in_its_order) {
    write(R"({"z": [1, {"deep": null}], "number": 12345678901234567890, "key": 7, "a": 1.5})");
    EXPECT_EQ(store.string("key"), std::nullopt) << "a number is no text";
    store.setString("key", "value");
    store.remove("absent");
    EXPECT_EQ(content(), R"({
  "z": [
    1,
    {
      "deep": null
    }
  ],
  "number": 12345678901234567890,
  "key": "value",
  "a": 1.5
}
)");
}

TEST_F(SettingsStoreTest, never_overwrites_a_file_that_it_cannot_read) {
    for (const char* text : {"", "{", "[]", "\"text\"", "{\"key\": \"\xFF\"}", "{} {}"}) {
        SCOPED_TRACE(text);
        write(text);
        EXPECT_EQ(store.string("key"), std::nullopt);
        EXPECT_THAT(refusal(), HasSubstr(file().string() + " cannot be read and are left as they are: "));
    }
}

TEST_F(SettingsStoreTest, refuses_a_document_beyond_all_measure) {
    write("{\"key\": \"value\", \"fill\": \"" + std::string(std::size_t{1024} * 1024, 'x') + "\"}");
    EXPECT_EQ(store.string("key"), std::nullopt);
    EXPECT_EQ(refusal(), "the settings in " + file().string() +
                             " cannot be read and are left as they are: it is no readable file of at most 1 "
                             "MiB");
    write("{\"key\": " + std::string(100'000, '[') + std::string(100'000, ']') + "}");
    EXPECT_THAT(refusal(), HasSubstr("nested more than 64 levels deep"));
}

TEST_F(SettingsStoreTest, refuses_a_folder_in_place_of_the_file) {
    std::filesystem::create_directories(file());
    EXPECT_EQ(store.string("key"), std::nullopt);
    EXPECT_THROW(store.setString("key", "value"), std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_directory(file()));
}

TEST_F(SettingsStoreTest, says_when_the_file_cannot_be_written) {
    std::ofstream(folder_.path() / "config") << "in the way";
    EXPECT_THROW(store.setString("key", "value"), std::system_error);
    EXPECT_EQ(store.string("key"), std::nullopt);
}

TEST_F(SettingsStoreTest, refuses_what_is_no_text) {
    store.setString("key", "value");
    const std::string before = content();
    EXPECT_THROW(store.setString("key", "\xFF"), std::runtime_error);
    EXPECT_THROW(store.setString("\xFF", "value"), std::runtime_error);
    EXPECT_EQ(content(), before);
}

}  // namespace
}  // namespace quillbay
