#pragma once

#include <sys/types.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "fakes/PrivateBus.h"
#include "platform/ChildProcess.h"

namespace quillbay::fakes {

/// What a screen reader is told by the programs that are started with `environment`: they have a session bus,
/// on which the desktop's accessibility is.
class ScreenReader {
 public:
    using Environment = std::map<std::string, std::optional<std::string>>;

    /// `folder` must exist and have no other bus in it.
    explicit ScreenReader(const std::filesystem::path& folder);
    ~ScreenReader();
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    /// What its programs need in theirs.
    [[nodiscard]] const Environment& environment() const { return environment_; }

    /// The names of all that this program shows now; none while it has not come to the bus.
    [[nodiscard]] QStringList names(pid_t program) const;

 private:
    [[nodiscard]] QString serviceOf(pid_t program) const;

    // Before the connection, which is on them.
    int argumentCount_ = 0;
    QCoreApplication application_{argumentCount_, nullptr};
    PrivateBus session_;
    Environment environment_;
    ChildProcess launcher_;
    QDBusConnection bus_;
};

}  // namespace quillbay::fakes
