#include "ui/shell/StorageNotices.h"

#include <gtest/gtest.h>

#include <fstream>

#include "fakes/TemporaryFolder.h"
#include "platform/Files.h"
#include "platform/SettingsStore.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

class StorageNoticesTest : public ::testing::Test {
 protected:
    [[nodiscard]] QStringList problems() const { return storageProblems(files); }
    [[nodiscard]] QString path(const char* below) const {
        return QString::fromStdString((folder.path() / below).string());
    }

    fakes::TemporaryFolder folder;
    FileLocations files{folder.path() / "data", folder.path() / "config", folder.path(),
                        folder.path() / "run"};
};

TEST_F(StorageNoticesTest, nothing_is_said_when_all_is_well_and_nothing_is_left_behind) {
    EXPECT_EQ(problems(), QStringList());
    SettingsStore(files).setString("key", "value");
    EXPECT_EQ(problems(), QStringList());
    EXPECT_TRUE(fs::is_empty(folder.path() / "data/Quillbay"));
    EXPECT_EQ(SettingsStore(files).string("key"), "value");
}

// A file where a folder belongs stops root as well.
TEST_F(StorageNoticesTest, a_folder_that_cannot_be_written_is_named_with_what_is_lost) {
    std::ofstream(folder.path() / "data") << "in the way";
    EXPECT_EQ(problems(),
              QStringList(QStringLiteral("Devices and logs won't be kept after Quillbay quits: ") +
                          path("data/Quillbay") + QStringLiteral(" can't be written (Not a directory).")));
    fs::remove_all(folder.path() / "config");
    std::ofstream(folder.path() / "config") << "in the way";
    ASSERT_EQ(problems().size(), 2);
    EXPECT_EQ(problems().at(1), QStringLiteral("Settings won't be kept after Quillbay quits: ") +
                                    path("config/Quillbay") +
                                    QStringLiteral(" can't be written (Not a directory)."));
}

TEST_F(StorageNoticesTest, settings_that_cannot_be_read_are_said_to_stay_as_they_are) {
    fs::create_directories(folder.path() / "config/Quillbay");
    const fs::path settings = folder.path() / "config/Quillbay/settings.json";
    std::ofstream(settings) << "{ \"a\": ";
    ASSERT_EQ(problems().size(), 1);
    EXPECT_TRUE(problems().front().startsWith(
        QStringLiteral("Settings won't be kept after Quillbay quits: the settings in ") +
        path("config/Quillbay/settings.json") + QStringLiteral(" cannot be read and are left as they are: ")))
        << problems().front().toStdString();
    EXPECT_EQ(readFile(settings, 100), "{ \"a\": ");
}

}  // namespace
}  // namespace quillbay
