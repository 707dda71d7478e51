#include "platform/LaunchAtLogin.h"

#import <ServiceManagement/ServiceManagement.h>

#include <stdexcept>
#include <string>

namespace quillbay {

namespace {

[[noreturn]] void fail(const std::string& what, NSError* error) {
    NSString* reason = error.localizedDescription;
    throw std::runtime_error(what + (reason == nil ? std::string() : " " + std::string(reason.UTF8String)));
}

/// The login item that is the application itself, by its bundle: the program's path has no part in it.
class MainAppService final : public LaunchAtLogin {
 public:
    [[nodiscard]] bool isEnabled() const override {
        return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
    }

    void enable() override {
        NSError* error = nil;
        SMAppService* service = SMAppService.mainAppService;
        if (![service registerAndReturnError:&error])
            fail("Launch at login could not be switched on.", error);
        // Registered, and yet not started until the user allows it.
        if (service.status == SMAppServiceStatusRequiresApproval)
            throw std::runtime_error("Allow Quillbay in System Settings, General, Login Items.");
    }

    void disable() override {
        NSError* error = nil;
        SMAppService* service = SMAppService.mainAppService;
        if (service.status == SMAppServiceStatusNotRegistered) return;
        if (![service unregisterAndReturnError:&error])
            fail("Launch at login could not be switched off.", error);
    }
};

}  // namespace

std::unique_ptr<LaunchAtLogin> LaunchAtLogin::system(const std::filesystem::path& /*program*/) {
    return std::make_unique<MainAppService>();
}

}  // namespace quillbay
