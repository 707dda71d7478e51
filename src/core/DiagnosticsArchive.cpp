#include "core/DiagnosticsArchive.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "core/DiagnosticsError.h"
#include "platform/ChildProcess.h"
#include "platform/Files.h"
#include "platform/PrintedError.h"
#include "platform/ScratchFolder.h"
#include "platform/Text.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;

constexpr const char* logName = "diagnostics.log";
constexpr const char* scratchPrefix = "quillbay-report-";
constexpr int noTool = -1;

/// What is at the path itself, behind no symbolic link; nothing when nothing is.
std::optional<struct stat> entryAt(const fs::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) == 0) return status;
    if (errno == ENOENT) return std::nullopt;
    throw systemError(errno);
}

/// Removes what an earlier report has left under this name. A symbolic link goes, and what it names stays.
void removeOwn(const fs::path& path) {
    const std::optional<struct stat> status = entryAt(path);
    if (!status) return;
    if (status->st_uid != ::geteuid())
        throw DiagnosticsError(noTool, "“" + path.string() + "” belongs to another user.");
    fs::remove_all(path);
}

/// Makes the folder, which must not be there: somebody else could read what is put into theirs.
void makePrivateFolder(const fs::path& folder) {
    makeDirectories(folder.parent_path());
    if (::mkdir(folder.c_str(), 0700) != 0) throw systemError(errno);
}

/// The archive was made under a name that others may have used meanwhile.
void requireOwnFile(const fs::path& archive) {
    const std::optional<struct stat> status = entryAt(archive);
    const bool own = status && S_ISREG(status->st_mode) && status->st_uid == ::geteuid() &&
                     status->st_nlink == 1 && (status->st_mode & 077U) == 0;
    if (!own) throw DiagnosticsError(noTool, "“" + archive.string() + "” is not the file that was made.");
}

/// Throws unless a file may be put there.
void requireFileName(const fs::path& archive) {
    const auto refuse = [&archive](const std::string& why) {
        throw DiagnosticsError(noTool,
                               "The report cannot be written to “" + archive.string() + "”: " + why + ".");
    };
    if (!archive.is_absolute()) refuse("the path is not absolute");
    struct stat status{};
    if (::stat(archive.parent_path().c_str(), &status) != 0)
        refuse(std::generic_category().message(errno) + " (“" + archive.parent_path().string() + "”)");
    if (!archive.has_filename()) refuse("it is a folder");
    if (::stat(archive.c_str(), &status) != 0) return;
    if (S_ISDIR(status.st_mode)) refuse("it is a folder");
    // A device or a pipe would be replaced as well, which nobody can mean.
    if (!S_ISREG(status.st_mode)) refuse("it is not a file");
}

}  // namespace

DiagnosticsArchive::DiagnosticsArchive(HostTools::Tool zip, std::chrono::milliseconds zipLimit)
    : zip_(std::move(zip)), zipLimit_(zipLimit) {}

void DiagnosticsArchive::make(const fs::path& folder, const fs::path& archive, std::string_view text,
                              const StopToken& token) const {
    removeOwn(folder);
    // An archive that is there would be added to.
    removeOwn(archive);
    makePrivateFolder(folder);
    replaceFile(folder / logName, wellFormedUtf8(text));
    zip(folder / logName, archive, token);
    requireOwnFile(archive);
}

void DiagnosticsArchive::makeAnywhere(const fs::path& temporary, const fs::path& archive,
                                      std::string_view text, const StopToken& token) const {
    requireFileName(archive);
    const ScratchFolder folder(temporary, scratchPrefix);
    const fs::path made = folder.path() / "diagnostics.zip";
    make(folder.path() / "log", made, text, token);
    // By copying, because the two may be on different disks.
    constexpr std::size_t limitBytes = std::size_t{1} << 30U;
    const std::optional<std::string> content = readFile(made, limitBytes);
    if (!content) throw DiagnosticsError(noTool, "“" + made.string() + "” cannot be read again.");
    try {
        replaceFile(archive, *content);
    } catch (const std::system_error& error) {
        throw DiagnosticsError(noTool, "The report cannot be written to “" + archive.string() + "”: " +
                                           std::generic_category().message(error.code().value()) + ".");
    }
}

void DiagnosticsArchive::removeLeftOver(const fs::path& temporary) {
    ScratchFolder::removeLeftOver(temporary, scratchPrefix);
}

void DiagnosticsArchive::zip(const fs::path& file, const fs::path& archive, const StopToken& token) const {
    ChildCommand command;
    command.executable = zip_.executable;
    command.arguments = zip_.leadingArguments;
    for (const std::string& argument :
         {std::string("-q"), std::string("-j"), archive.string(), file.string()})
        command.arguments.push_back(argument);
    command.standardOutput = ChildCommand::Output::pipe;
    command.standardError = ChildCommand::Output::pipe;
    command.environment = zip_.environment;
    command.creationMask = 077;
    constexpr std::size_t messageLimitBytes = std::size_t{64} * 1024;
    const std::optional<ChildResult> result = runToEnd(command, messageLimitBytes, token, zipLimit_);
    if (!result && token.stopRequested()) throw DiagnosticsError(noTool, "zip was abandoned");
    if (!result) {
        const auto seconds = std::chrono::ceil<std::chrono::seconds>(zipLimit_).count();
        throw DiagnosticsError(noTool, fmt::format("zip did not end within {} seconds", seconds));
    }
    if (result->status.success()) return;
    const std::string message = trimmed(wellFormedUtf8(result->standardError));
    throw DiagnosticsError(
        result->status.code,
        message.empty() ? fmt::format("zip exited with status {}", result->status.code) : message);
}

}  // namespace quillbay
