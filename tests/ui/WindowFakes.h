#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/DesktopServices.h"
#include "platform/LaunchAtLogin.h"

namespace quillbay::fakes {

/// A desktop that remembers what it was asked for, and does nothing.
class RecordingDesktop final : public DesktopServices {
 public:
    void composeMail(MailDraft draft, std::function<void(MailAnswer)> done) override {
        mails.push_back(std::move(draft));
        done(MailAnswer::opened);
    }
    void revealFile(std::filesystem::path file, Done done) override {
        revealed.push_back(std::move(file));
        done(true);
    }
    void openURL(std::string url, Done done) override {
        opened.push_back(std::move(url));
        done(true);
    }

    std::vector<MailDraft> mails;
    std::vector<std::filesystem::path> revealed;
    std::vector<std::string> opened;
};

/// A login item in memory, which can be told to fail with a sentence.
class FakeLaunchAtLogin final : public LaunchAtLogin {
 public:
    [[nodiscard]] bool isEnabled() const override { return enabled; }
    void enable() override { set(true); }
    void disable() override { set(false); }

    bool enabled = false;
    std::optional<std::string> failure;

 private:
    void set(bool wanted) {
        if (failure) throw std::runtime_error(*failure);
        enabled = wanted;
    }
};

}  // namespace quillbay::fakes
