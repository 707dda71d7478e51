#include <utility>

#include "core/AppCoordinator.h"
#include "core/DiagnosticsReport.h"
#include "core/DiagnosticsTexts.h"
#include "core/Version.h"
#include "platform/SystemFacts.h"

namespace quillbay {

DiagnosticsFacts AppCoordinator::diagnosticsFacts() const {
    DiagnosticsFacts facts;
    facts.exported = host_.clock.now();
    facts.version = applicationVersion();
    facts.operatingSystemVersion = operatingSystemVersion();
    facts.computerName = computerName();
    facts.interfaceName = host_.interfaceName();
    facts.localIP = host_.ipv4Address(facts.interfaceName);
    for (const auto& provider : installedProviders_)
        facts.installedProviders.push_back(provider->type().displayName);
    for (const DeviceProfile& profile : profiles_)
        facts.profiles.push_back({profile.displayName, profile.providerDisplayName(), profile.providerIP,
                                  profile.remotePairingPort, profile.bridgeEnabled.value_or(false),
                                  status(profile.id())});
    return facts;
}

std::string AppCoordinator::diagnosticsHeader() const {
    return quillbay::diagnosticsHeader(diagnosticsFacts());
}

std::string AppCoordinator::supportEmailBody() const {
    return quillbay::supportEmailBody(diagnosticsFacts());
}

void AppCoordinator::sendToSupport() {
    logs_.diagnostic("User requested Send diagnostics to support team");
    diagnosticsReport_->sendToSupport(diagnosticsHeader(), supportEmailBody());
}

void AppCoordinator::exportReport(std::filesystem::path zip,
                                  std::function<void(std::optional<std::string> error)> done) {
    diagnosticsReport_->writeTo(std::move(zip), diagnosticsHeader(), std::move(done));
}

}  // namespace quillbay
