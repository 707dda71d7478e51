#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fakes/TemporaryFolder.h"
#include "platform/ChildProcess.h"
#include "platform/RuntimeFolder.h"
#include "ui/shell/XDesktop.h"

namespace quillbay {

/// The real program on a real desktop, in a home of its own. What it is and does is seen from outside: its
/// windows, its exit status, its files and what the terminal's program gets from it.
class ProgramFixture : public ::testing::Test {
 protected:
    ProgramFixture();
    ~ProgramFixture() override;

    /// The program's environment; tests may change it.
    std::map<std::string, std::optional<std::string>> environment;

    [[nodiscard]] ChildProcess start(const std::vector<std::string>& arguments = {}) const;
    /// With a window that can be seen, and served at its socket.
    [[nodiscard]] ChildProcess startWithWindow() const;
    /// Hidden, with its item in the tray, which is started.
    [[nodiscard]] ChildProcess startInTray();
    /// To its end, which comes by itself.
    [[nodiscard]] ChildResult run(const std::string& executable,
                                  const std::vector<std::string>& arguments = {}) const;
    [[nodiscard]] ChildResult runProgram(const std::vector<std::string>& arguments = {}) const;
    [[nodiscard]] ChildResult ctl(const std::vector<std::string>& words) const;
    [[nodiscard]] bool isServed() const { return ctl({"status"}).status.code == 0; }

    /// The exit status once the program has ended; -1 when it does not.
    static int statusOf(const ChildProcess& program);
    static bool until(const std::function<bool()>& condition,
                      std::chrono::seconds limit = std::chrono::seconds(20));
    /// The other processes of this world, by name: those of the desktop are left out.
    [[nodiscard]] static std::vector<std::string> strangers();

    void write(const std::string& path, const std::string& content) const;
    [[nodiscard]] std::string read(const std::string& path) const;
    [[nodiscard]] std::filesystem::path home() const { return folder_.path(); }
    [[nodiscard]] std::filesystem::path socket() const { return controlSocketPath(home()); }

    std::optional<fakes::XDesktop> desktop;

 private:
    fakes::TemporaryFolder folder_;
};

}  // namespace quillbay
