#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/FileLocations.h"
#include "platform/SerialQueue.h"
#include "profile/DeviceProfile.h"

namespace quillbay {

/// Keeps the list of profiles in one file, `devices.json`, which is the only truth: nothing is held in
/// memory.
///
/// Owned by the coordinator and called on the main thread; every call waits for the disk, on the queue
/// "com.local.mirel.Quillbay.device-store". No call reports a failure: what cannot be read is an empty list,
/// and what cannot be written leaves the old file. A file that cannot be decoded is overwritten by the next
/// change.
class DeviceProfileStore {
 public:
    /// Thousands of times what a long list of phones takes; a larger file is not one of ours.
    static constexpr std::size_t maxFileBytes = std::size_t{64} * 1024 * 1024;

    /// Creates the folder `applicationSupportSubdirectory` in the application-support directory if it is
    /// missing.
    DeviceProfileStore(const FileLocations& files, const std::string& applicationSupportSubdirectory);

    [[nodiscard]] std::vector<DeviceProfile> load() const;
    void save(const std::vector<DeviceProfile>& profiles) const;

    /// Replaces the first profile with the same id, in its place, or appends the profile.
    void upsert(const DeviceProfile& profile) const;

    /// Drops every profile with this id and writes the file, even when there was none.
    void remove(const std::string& id) const;

    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

 private:
    SerialQueue queue_;
    std::filesystem::path fileURL_;
};

}  // namespace quillbay
