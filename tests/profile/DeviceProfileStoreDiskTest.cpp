#include <gtest/gtest.h>

#include "fakes/InPrivateMounts.h"
#include "fakes/TemporaryFolder.h"
#include "profile/DeviceProfileStore.h"
#include "profile/ProfileExamples.h"

namespace quillbay {
namespace {

constexpr std::size_t diskBytes = 256 * 1024;

class DeviceProfileStoreOnADisk : public testing::Test {
 protected:
    DeviceProfileStoreOnADisk() { std::filesystem::create_directory(disk()); }
    [[nodiscard]] std::filesystem::path disk() const { return folder_.path() / "support"; }
    [[nodiscard]] FileLocations files() const { return locationsIn(folder_.path()); }

 private:
    fakes::TemporaryFolder folder_;
};

TEST_F(DeviceProfileStoreOnADisk, keeps_the_old_list_when_the_disk_is_read_only) {
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(disk(), diskBytes);
                  const DeviceProfileStore store(files(), "Quillbay");
                  store.save({exampleProfile()});
                  fakes::makeReadOnly(disk());
                  store.upsert(DeviceProfile::draft("new"));
                  store.remove(exampleProfile().id());
                  if (store.load() != std::vector{exampleProfile()}) return "the list changed";
                  return "";
              }),
              "");
}

TEST_F(DeviceProfileStoreOnADisk, starts_on_a_read_only_disk_with_an_empty_list) {
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(disk(), diskBytes);
                  fakes::makeReadOnly(disk());
                  const DeviceProfileStore store(files(), "Quillbay");
                  store.upsert(exampleProfile());
                  if (!store.load().empty()) return "something was stored";
                  return "";
              }),
              "");
}

TEST_F(DeviceProfileStoreOnADisk, keeps_the_old_list_and_no_debris_when_the_disk_is_full) {
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(disk(), diskBytes);
                  const DeviceProfileStore store(files(), "Quillbay");
                  const std::vector<DeviceProfile> small(10, exampleProfile());
                  const std::vector<DeviceProfile> large(2000, exampleProfile());
                  store.save(small);
                  const auto freeBefore = std::filesystem::space(disk()).free;
                  store.save(large);
                  if (store.load() != small) return "the list changed";
                  if (std::filesystem::space(disk()).free != freeBefore) return "something was left behind";
                  store.upsert(DeviceProfile::draft("new"));
                  if (store.load().size() != 11) return "cannot save after that";
                  return "";
              }),
              "");
}

}  // namespace
}  // namespace quillbay
