#include "ui/shell/StorageNotices.h"

#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "platform/Files.h"
#include "platform/PrintableText.h"
#include "platform/SettingsStore.h"

namespace quillbay {

namespace {

/// Why nothing can be kept in `folder`, in the system's words; nothing when it can.
std::optional<std::string> whyNotWritable(const std::filesystem::path& folder) {
    const std::filesystem::path probe = folder / ".write-test";
    try {
        makeDirectories(folder);
        replaceFile(probe, "");
        std::filesystem::remove(probe);
        return std::nullopt;
    } catch (const std::system_error& error) {
        return error.code().message();
    }
}

QString sentence(const std::string& text) {
    return QString::fromStdString(printable(text));
}

}  // namespace

QStringList storageProblems(const FileLocations& files) {
    QStringList problems;
    const std::filesystem::path data = files.applicationSupport / applicationFolder;
    const std::filesystem::path configuration = files.configuration / applicationFolder;
    if (const auto reason = whyNotWritable(data))
        problems += sentence("Devices and logs won't be kept after Quillbay quits: " + data.string() +
                             " can't be written (" + *reason + ").");
    if (const auto reason = whyNotWritable(configuration)) {
        problems += sentence("Settings won't be kept after Quillbay quits: " + configuration.string() +
                             " can't be written (" + *reason + ").");
        return problems;
    }
    try {
        SettingsStore(files).checkReadable();
    } catch (const std::exception& error) {
        problems +=
            sentence("Settings won't be kept after Quillbay quits: " + std::string(error.what()) + ".");
    }
    return problems;
}

}  // namespace quillbay
