#include "control/ControlLookup.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "control/ControlRequest.h"
#include "platform/Text.h"
#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay::control {

namespace {

template <typename Thing, typename Fits>
std::vector<const Thing*> allThat(const std::vector<Thing>& things, Fits fits) {
    std::vector<const Thing*> found;
    for (const Thing& thing : things)
        if (fits(thing)) found.push_back(&thing);
    return found;
}

template <typename Thing, typename Label>
std::string listed(const std::vector<const Thing*>& things, Label label) {
    std::vector<std::string> labels;
    labels.reserve(things.size());
    for (const Thing* thing : things)
        labels.push_back(label(*thing));
    return fmt::format("{}", fmt::join(labels, ", "));
}

constexpr const char* notKept = "The change could not be saved. Is there room on the disk?";

}  // namespace

void requireKept(const std::vector<DeviceProfile>& profiles, const DeviceProfile& profile) {
    if (std::find(profiles.begin(), profiles.end(), profile) == profiles.end()) throw RefusedRequest(notKept);
}

void requireRemoved(const std::vector<DeviceProfile>& profiles, const std::string& id) {
    const bool there = std::any_of(profiles.begin(), profiles.end(),
                                   [&](const DeviceProfile& profile) { return profile.id() == id; });
    if (there) throw RefusedRequest(notKept);
}

const DeviceProfile& findProfile(const std::vector<DeviceProfile>& profiles, const std::string& text) {
    const auto sameID = allThat(profiles, [&](const DeviceProfile& profile) { return profile.id() == text; });
    if (!sameID.empty()) return *sameID.front();
    const std::string host = lowercased(text);
    const auto found = allThat(profiles, [&](const DeviceProfile& profile) {
        return profile.displayName == text || lowercased(profile.bonjourHost) == host;
    });
    if (found.empty()) throw RefusedRequest(fmt::format("There is no profile \"{}\".", text));
    if (found.size() > 1)
        throw RefusedRequest(fmt::format("\"{}\" fits several profiles, name one by its id: {}.", text,
                                         listed(found, [](const auto& profile) { return profile.id(); })));
    return *found.front();
}

const CapturedBonjourService& findService(const std::vector<CapturedBonjourService>& services,
                                          const std::string& text) {
    const std::string wanted = lowercased(text);
    auto found = allThat(services, [&](const auto& service) { return lowercased(service.host) == wanted; });
    if (found.empty())
        found = allThat(services, [&](const auto& service) { return lowercased(service.name) == wanted; });
    if (found.empty())
        throw RefusedRequest(fmt::format("There is no phone \"{}\" on the local network.", text));
    if (found.size() > 1)
        throw RefusedRequest(fmt::format("\"{}\" fits several phones, name one by its host: {}.", text,
                                         listed(found, [](const auto& service) { return service.host; })));
    return *found.front();
}

const MeshVPNDevice& findPeer(const std::vector<MeshVPNDevice>& peers, const std::string& name,
                              const MeshVPNProviderType& provider) {
    const auto found = allThat(peers, [&](const MeshVPNDevice& peer) { return peer.hostName == name; });
    if (found.empty())
        throw RefusedRequest(fmt::format("{} lists no peer \"{}\".", provider.displayName, name));
    if (found.size() > 1) {
        const auto address = [](const MeshVPNDevice& peer) {
            return peer.ipAddresses.empty() ? std::string("none") : peer.ipAddresses.front();
        };
        throw RefusedRequest(fmt::format("{} lists several peers \"{}\", give an address of one of them: {}.",
                                         provider.displayName, name, listed(found, address)));
    }
    if (found.front()->ipAddresses.empty())
        throw RefusedRequest(
            fmt::format("{} lists no address for the peer \"{}\".", provider.displayName, name));
    return *found.front();
}

const MeshVPNProviderType& findProvider(const std::string& id) {
    if (const MeshVPNProviderType* type = MeshVPNProviderRegistry::provider(id)) return *type;
    std::vector<std::string> known;
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all())
        known.push_back(type.id);
    throw RefusedRequest(
        fmt::format("There is no provider \"{}\". Known are: {}.", id, fmt::join(known, ", ")));
}

}  // namespace quillbay::control
