#include <gtest/gtest.h>

#include <fstream>

#include "core/LogFile.h"
#include "fakes/InPrivateMounts.h"
#include "fakes/TemporaryFolder.h"

namespace quillbay {
namespace {

constexpr std::int64_t maxBytes = 2'097'152;

TEST(LogFileOnADisk, leaves_whole_lines_when_the_disk_is_full) {
    const fakes::TemporaryFolder folder;
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(folder.path(), 64 * 1024);
                  const LogFile file(folder.path() / "diagnostics.log", maxBytes);
                  std::string line;
                  for (int i = 0; i < 500; ++i)
                      line += "\u20AC";
                  std::size_t whole = 0;
                  for (int i = 0; i < 100; ++i) {
                      file.append(line);
                      const std::optional<std::string> text = file.read();
                      if (!text || text->size() % (line.size() + 1) != 0) return "half a line";
                      whole = text->size() / (line.size() + 1);
                  }
                  if (whole < 20 || whole > 60) return "unexpected number of lines: " + std::to_string(whole);
                  file.append("short");
                  if (!file.read()->ends_with("short\n")) return "a line that fits was not written";
                  return "";
              }),
              "");
}

TEST(LogFileOnADisk, keeps_the_file_when_there_is_no_room_to_trim_it) {
    const fakes::TemporaryFolder folder;
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(folder.path(), 3 * 1024 * 1024 - 512 * 1024);
                  const LogFile file(folder.path() / "diagnostics.log", maxBytes);
                  const std::string text(maxBytes, 'x');
                  std::ofstream(folder.path() / "diagnostics.log") << text;
                  file.append("end");
                  if (file.read() != text + "end\n") return "the file is damaged";
                  if (std::filesystem::space(folder.path()).free < 400 * 1024)
                      return "something was left behind";
                  return "";
              }),
              "");
}

TEST(LogFileOnADisk, leaves_a_read_only_file_as_it_is) {
    const fakes::TemporaryFolder folder;
    EXPECT_EQ(fakes::inPrivateMounts([&]() -> std::string {
                  fakes::mountSmallDisk(folder.path(), 64 * 1024);
                  const LogFile file(folder.path() / "diagnostics.log", maxBytes);
                  file.append("a");
                  fakes::makeReadOnly(folder.path());
                  file.append("b");
                  if (file.read() != "a\n") return "the file changed";
                  return "";
              }),
              "");
}

}  // namespace
}  // namespace quillbay
