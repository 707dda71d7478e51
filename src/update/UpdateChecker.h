#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Host.h"
#include "platform/Observers.h"
#include "update/LatestResponse.h"
#include "update/Update.h"
#include "update/UpdateService.h"

namespace quillbay {

/// From the end of one check to the next.
inline constexpr std::chrono::milliseconds updateCheckInterval = std::chrono::seconds(86'400);

/// Asks the maker's update service once a day whether there is a newer version. It never downloads or
/// installs anything. Owned by the program for as long as it runs.
///
/// Lives on the main queue: it is made, called and dropped there, and publishes there. The service is asked
/// on a thread of the background work. Failures are silent; what an earlier check has found stays.
///
///        check             answer               address of a web page
///     idle ----> asking the ------> judging it ----------------------> published
///      ^         primary host        ^  |                                 |
///      |           |    |            |  | any other address               |
///      |           |    | any other  |  v                                 |
///      |           |    +------------|-> nothing changes                  |
///      |           |      failure    |   ^  |                             |
///      |           | unreachable     |   |  |                             |
///      |           v         answer  |   |  |                             |
///      |         asking the ---------+   |  |                             |
///      |         fallback host ----------+  |                             |
///      |                       failure      v                             v
///      +------------------------------------------------------------------+
///
/// One check at a time: `check` during one joins it. Polling is a check at the start and one a day after the
/// end of each.
///
/// Dropping the checker in any state stops the polling and the request, which ends at once; its answer is
/// dropped.
class UpdateChecker : public std::enable_shared_from_this<UpdateChecker> {
 public:
    /// `host` must outlive the checker. `currentVersion` is the version that runs; "0.0.0" is one that was
    /// built without a number, which never polls.
    static std::shared_ptr<UpdateChecker> make(const Host& host, std::string currentVersion,
                                               UpdateService service = UpdateService::ofThisBuild());
    ~UpdateChecker();
    UpdateChecker(const UpdateChecker&) = delete;
    UpdateChecker& operator=(const UpdateChecker&) = delete;

    /// Begins to poll, with a check right now. Only the first call does anything.
    void start();

    /// One check. `done` (may be empty) runs on the main queue when it has ended, unless the checker is
    /// dropped before.
    void check(Task done = {});

    /// The newer version; nothing when there is none, or none is known.
    [[nodiscard]] const std::optional<Update>& available() const { return available_; }

    /// Whether any check got a valid answer.
    [[nodiscard]] bool hasCheckedSuccessfully() const { return hasCheckedSuccessfully_; }

    [[nodiscard]] const std::string& currentVersion() const { return currentVersion_; }

    /// Told after `available` or `hasCheckedSuccessfully` has changed.
    Observers<> changed;

 private:
    UpdateChecker(const Host& host, std::string currentVersion, UpdateService service);
    void poll();
    void end(const std::optional<LatestResponse>& answer);
    void publish(const LatestResponse& answer);

    const Host& host_;
    std::string currentVersion_;
    UpdateService service_;
    std::optional<Update> available_;
    bool hasCheckedSuccessfully_ = false;

    bool polling_ = false;
    std::unique_ptr<MainTimer> nextPoll_;
    /// The check that is under way, and who waits for its end.
    std::optional<StopSource> request_;
    std::vector<Task> waiting_;
};

}  // namespace quillbay
