#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/RemotePairingProbe.h"
#include "discovery/CapturedBonjourService.h"
#include "providers/MeshVPNProvider.h"

namespace quillbay {

class AppCoordinator;

/// The documents with which requests are answered: each one a JSON object on one line, with its line feed.
/// docs/control.md lists their members. What is not UTF-8 in a text (TXT values and names are bytes) appears
/// as U+FFFD.
namespace control {

std::string statusDocument(const AppCoordinator& coordinator);
std::string phonesDocument(const std::vector<CapturedBonjourService>& services);
std::string providersDocument(const AppCoordinator& coordinator);
std::string peersDocument(const std::string& providerID, const std::vector<MeshVPNDevice>& peers);

std::string scanProgressDocument(std::size_t probed, std::size_t total);
std::string scanResultDocument(const RemotePairingScanReport& report, std::size_t probed, std::size_t total);

std::string settingsDocument(const AppCoordinator& coordinator);

std::string lineDocument(const std::string& line);
/// Says that there is nothing more to come where the documents themselves do not show it.
std::string endDocument();

std::string idDocument(const std::string& profileID);
std::string pathDocument(const std::string& path);
std::string errorDocument(std::string_view sentence);

}  // namespace control

}  // namespace quillbay
