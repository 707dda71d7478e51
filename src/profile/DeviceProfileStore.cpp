#include "profile/DeviceProfileStore.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/Files.h"
#include "platform/JSONValue.h"
#include "profile/DeviceProfileJSON.h"

namespace quillbay {

namespace {

/// A file that is there and cannot be read counts as empty, and the next change would replace it: so a single
/// failure of the system's does not count yet.
std::optional<std::string> readPersistently(const std::filesystem::path& path) {
    constexpr int attempts = 3;
    std::optional<std::string> document;
    std::error_code ignored;  // what cannot even be asked for is not there
    for (int attempt = 0; attempt < attempts && !document; ++attempt) {
        document = readFile(path, DeviceProfileStore::maxFileBytes);
        if (!document && !std::filesystem::exists(path, ignored)) break;
    }
    return document;
}

std::vector<DeviceProfile> readProfiles(const std::filesystem::path& path) {
    const std::optional<std::string> document = readPersistently(path);
    if (!document) return {};
    try {
        return decodeProfiles(*document);
    } catch (const JSONError&) {
        // All or nothing: half a list would lose the other phones one by one, and nobody would see which.
        return {};
    }
}

}  // namespace

DeviceProfileStore::DeviceProfileStore(const FileLocations& files,
                                       const std::string& applicationSupportSubdirectory)
    : queue_(SerialQueue::withOwnThread("com.local.mirel.Quillbay.device-store")),
      fileURL_(files.applicationSupport / applicationSupportSubdirectory / "devices.json") {
    try {
        makeDirectories(fileURL_.parent_path());
    } catch (const std::exception&) {
        // Without the folder the list reads as empty and cannot be kept, which is all that can be done about
        // it.
    }
    removeLeftOverParts(fileURL_);
}

std::vector<DeviceProfile> DeviceProfileStore::load() const {
    std::vector<DeviceProfile> profiles;
    queue_.sync([&] { profiles = readProfiles(fileURL_); });
    return profiles;
}

void DeviceProfileStore::save(const std::vector<DeviceProfile>& profiles) const {
    queue_.sync([&] {
        try {
            replaceFile(fileURL_, encodeProfiles(profiles));
        } catch (const std::exception&) {
            // The file keeps its last good content, and the owner, who reads it back, shows that the change
            // was not kept: nobody at the screen could do more about a full or read-only disk than the
            // system's own warnings already ask for.
        }
    });
}

void DeviceProfileStore::upsert(const DeviceProfile& profile) const {
    std::vector<DeviceProfile> profiles = load();
    const std::string id = profile.id();
    const auto existing = std::find_if(profiles.begin(), profiles.end(),
                                       [&](const DeviceProfile& candidate) { return candidate.id() == id; });
    if (existing != profiles.end()) {
        *existing = profile;
    } else {
        profiles.push_back(profile);
    }
    save(profiles);
}

void DeviceProfileStore::remove(const std::string& id) const {
    std::vector<DeviceProfile> profiles = load();
    std::erase_if(profiles, [&](const DeviceProfile& profile) { return profile.id() == id; });
    save(profiles);
}

}  // namespace quillbay
