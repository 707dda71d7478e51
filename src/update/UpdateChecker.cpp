#include "update/UpdateChecker.h"

#include <system_error>
#include <utility>

#include "update/VersionNumber.h"
#include "update/WebAddress.h"

namespace quillbay {

UpdateChecker::UpdateChecker(const Host& host, std::string currentVersion, UpdateService service)
    : host_(host), currentVersion_(std::move(currentVersion)), service_(std::move(service)) {}

std::shared_ptr<UpdateChecker> UpdateChecker::make(const Host& host, std::string currentVersion,
                                                   UpdateService service) {
    return std::shared_ptr<UpdateChecker>(
        new UpdateChecker(host, std::move(currentVersion), std::move(service)));
}

UpdateChecker::~UpdateChecker() {
    if (request_) request_->requestStop();
}

void UpdateChecker::start() {
    if (polling_ || currentVersion_ == "0.0.0") return;
    polling_ = true;
    poll();
}

void UpdateChecker::poll() {
    check([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->nextPoll_ = self->host_.mainQueue.after(updateCheckInterval, [weak] {
            if (const auto kept = weak.lock()) kept->poll();
        });
    });
}

void UpdateChecker::check(Task done) {
    waiting_.push_back(std::move(done));
    if (request_) return;
    const auto report = [&mainQueue = host_.mainQueue,
                         weak = weak_from_this()](std::optional<LatestResponse> answer) {
        mainQueue.post([weak, answer = std::move(answer)] {
            if (const auto self = weak.lock()) self->end(answer);
        });
    };
    try {
        request_ = host_.background.run(
            [service = service_, report](const StopToken& token) { report(service.latest(token)); });
    } catch (const std::system_error&) {
        // No thread is to be had just now. That is a failed check like any other; the next one is due
        // tomorrow.
        request_.emplace();
        report(std::nullopt);
    }
}

void UpdateChecker::end(const std::optional<LatestResponse>& answer) {
    request_.reset();
    const std::vector<Task> waiting = std::exchange(waiting_, {});
    if (answer && isWebAddress(answer->downloadURL)) publish(*answer);
    for (const Task& done : waiting)
        if (done) done();
}

void UpdateChecker::publish(const LatestResponse& answer) {
    std::optional<Update> found;
    if (isNewer(answer.version, currentVersion_)) {
        found = Update{answer.version, answer.downloadURL, std::nullopt};
        if (answer.releaseNotesURL && isWebAddress(*answer.releaseNotesURL))
            found->releaseNotesURL = answer.releaseNotesURL;
    }
    const bool first = !std::exchange(hasCheckedSuccessfully_, true);
    const bool different = found != available_;
    available_ = std::move(found);
    if (first || different) changed.notify();
}

}  // namespace quillbay
