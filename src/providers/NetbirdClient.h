#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/BinaryPath.h"

namespace quillbay {

/// The peers of a `netbird status --json` document, in its order.
///
///     {"peers": {"details": [{"fqdn": "phone.netbird.cloud", "netbirdIp": "100.92.1.7/16",
///                             "status": "Connected", …}, …], …}, …}
///
/// Every member may be missing or null; one of a wrong type throws JSONError.
std::vector<MeshVPNDevice> decodeNetbirdStatus(std::string_view document);

/// Runs NetBird's command-line client.
class NetbirdClient {
 public:
    NetbirdClient(std::optional<std::string> binaryPath, ExecutableTest isExecutable);

    /// As MeshVPNProvider::listDevices.
    [[nodiscard]] std::vector<MeshVPNDevice> listDevices(const StopToken& token) const;

    BinaryPath binaryPath;
};

}  // namespace quillbay
