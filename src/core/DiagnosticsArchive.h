#pragma once

#include <chrono>
#include <filesystem>
#include <string_view>

#include "platform/HostTools.h"
#include "platform/StopToken.h"

namespace quillbay {

/// Makes the archives of diagnostics reports: one file "diagnostics.log" in a folder, packed with the host's
/// `zip`. Files, folder and archive are for this user alone.
///
/// The names of the support team's reports can be guessed, and some systems' temporary directory is open to
/// all users: what is found under such a name is removed when it is this user's, and refused when it is not.
///
/// All members block, on a background thread, and throw DiagnosticsError, and std::system_error as the system
/// gives it. What had been made until then stays.
class DiagnosticsArchive {
 public:
    /// A `zip` that takes longer than `zipLimit` has failed.
    DiagnosticsArchive(HostTools::Tool zip, std::chrono::milliseconds zipLimit);

    /// Packs `text` into `archive`, by way of `folder`; both are made anew, and those above them where they
    /// are missing. Paths are absolute.
    void make(const std::filesystem::path& folder, const std::filesystem::path& archive,
              std::string_view text, const StopToken& token) const;

    /// Packs `text` by way of a folder of its own below `temporary`, which is gone afterwards, into
    /// `archive`: a file of that name is replaced in one step, when the rest has succeeded.
    void makeAnywhere(const std::filesystem::path& temporary, const std::filesystem::path& archive,
                      std::string_view text, const StopToken& token) const;

    /// Removes the folders, each with a copy of the log, that programs have left below `temporary` when they
    /// were killed in the middle of `makeAnywhere`. Best effort, and the one member that does not throw.
    static void removeLeftOver(const std::filesystem::path& temporary);

    /// Runs the tool: an exit status other than 0 is an error of that code, described by what the tool wrote
    /// to standard error.
    void zip(const std::filesystem::path& file, const std::filesystem::path& archive,
             const StopToken& token) const;

 private:
    HostTools::Tool zip_;
    std::chrono::milliseconds zipLimit_;
};

}  // namespace quillbay
