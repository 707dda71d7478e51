#include "discovery/DeviceCtlLister.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "discovery/DeviceCtlJSON.h"
#include "discovery/DeviceCtlListerError.h"
#include "discovery/NamingConflict.h"
#include "platform/ChildProcess.h"
#include "platform/Files.h"

namespace quillbay {

namespace {

/// Many times the document of a desk full of phones.
constexpr std::size_t documentLimitBytes = std::size_t{16} * 1024 * 1024;

/// A file that is gone when its owner is, whether or not anybody ever wrote it.
class TemporaryFile {
 public:
    explicit TemporaryFile(std::filesystem::path path) : path_(std::move(path)) {}
    ~TemporaryFile() {
        // What cannot be removed stays for the system's own clean-up.
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
    std::filesystem::path path_;
};

std::optional<ChildResult> runListing(const HostTools::Tool& xcrun, const std::string& path,
                                      const StopToken& token) {
    ChildCommand command;
    command.executable = xcrun.executable;
    command.arguments = xcrun.leadingArguments;
    for (const char* argument : {"devicectl", "list", "devices", "--json-output"})
        command.arguments.emplace_back(argument);
    command.arguments.push_back(path);
    // The names of the user's devices, in a folder that others may look into.
    command.creationMask = S_IRWXG | S_IRWXO;
    try {
        return runToEnd(command, 0, token);
    } catch (const std::system_error&) {
        throw DeviceCtlListerError::processFailed(std::current_exception());
    }
}

/// UDIDs are hexadecimal digits and hyphens.
std::string uppercasedUDID(std::string udid) {
    for (char& character : udid)
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
    return udid;
}

const DeviceCtl* firstOwner(const std::vector<DeviceCtl>& devices, const std::string& baseName) {
    for (const DeviceCtl& device : devices)
        for (const std::string& hostname : device.potentialHostnames)
            if (hostBaseName(hostname) == baseName) return &device;
    return nullptr;
}

}  // namespace

DeviceCtlLister::DeviceCtlLister(HostTools tools, FileLocations files, RandomSource& random)
    : tools_(std::move(tools)), files_(std::move(files)), random_(random) {}

std::vector<DeviceCtl> DeviceCtlLister::listDevices(const StopToken& token) const {
    const TemporaryFile file(files_.temporary / ("devicectl-list-" + random_.uuid() + ".json"));
    const std::optional<ChildResult> result = runListing(tools_.xcrun, file.path().string(), token);
    if (!result) throw DeviceCtlListerError::processFailed(std::exception_ptr());
    if (!result->status.success()) throw DeviceCtlListerError::processFailed(result->status.code);

    const std::optional<std::string> document = readFile(file.path(), documentLimitBytes);
    if (!document) throw DeviceCtlListerError::decodingFailed();
    auto devices = decodeDeviceCtlList(*document);
    if (!devices) throw DeviceCtlListerError::decodingFailed();
    return *std::move(devices);
}

std::map<std::string, std::string> DeviceCtlLister::nameByUDID(const StopToken& token) const {
    std::map<std::string, std::string> names;
    try {
        for (DeviceCtl& device : listDevices(token))
            if (device.udid && device.name)
                names.insert_or_assign(uppercasedUDID(*device.udid), *device.name);
    } catch (const DeviceCtlListerError&) {
        // Without the tool there are no names: an ordinary answer, which the callers are prepared for.
    }
    return names;
}

std::optional<std::string> DeviceCtlLister::tunnelState(const std::string& resolvedHost,
                                                        const StopToken& token) const {
    try {
        const std::vector<DeviceCtl> devices = listDevices(token);
        const std::string baseName = hostBaseName(resolvedHost);
        const DeviceCtl* owner = firstOwner(devices, baseName);
        if (owner == nullptr) {
            const auto shortened = withoutConflictSuffix(baseName);
            if (shortened) owner = firstOwner(devices, *shortened);
        }
        return owner == nullptr ? std::nullopt : owner->tunnelState;
    } catch (const DeviceCtlListerError&) {
        // The caller has another way to find out.
        return std::nullopt;
    }
}

}  // namespace quillbay
