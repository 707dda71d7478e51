#include "ui/models/StoredProfile.h"

#include <algorithm>
#include <vector>

namespace quillbay {

const DeviceProfile* storedProfile(const AppCoordinator& coordinator, const QString& profileID) {
    const std::vector<DeviceProfile>& profiles = coordinator.profiles();
    const auto found = std::find_if(profiles.begin(), profiles.end(), [&](const DeviceProfile& profile) {
        return QString::fromStdString(profile.id()) == profileID;
    });
    return found == profiles.end() ? nullptr : &*found;
}

}  // namespace quillbay
