#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bridge/LocalHostPresenceCheck.h"
#include "discovery/CapturedBonjourService.h"
#include "platform/Host.h"
#include "platform/StopToken.h"

namespace quillbay {

/// Asks the local network for captured services that have been quiet: a few at a time, in the background.
/// Owned by the coordinator and used on the main queue; dropping it abandons every question at once.
class ServiceInquiries {
 public:
    /// Asks for one service; blocks for at most `timeout`.
    using Question = std::function<PresenceAnswer(const CapturedBonjourService& service,
                                                  std::chrono::milliseconds timeout, const StopToken& token)>;

    /// `onAnswered` runs on the main queue with the host of each service that has answered. `host` must
    /// outlive the questions.
    ServiceInquiries(const Host& host, Question question,
                     std::function<void(const std::string& host)> onAnswered);
    ~ServiceInquiries();
    ServiceInquiries(const ServiceInquiries&) = delete;
    ServiceInquiries& operator=(const ServiceInquiries&) = delete;

    /// Asks for these, except for those that are just being asked for; those who answered when they were last
    /// asked come before those who did not. What still waits from an earlier call is forgotten.
    void ask(std::vector<CapturedBonjourService> services);

 private:
    struct Shared;
    const Host& host_;
    std::shared_ptr<Shared> shared_;
};

/// The DNS name for which the service itself answers: the full one of its instance. A host that was recovered
/// from a naming conflict is not the one that the phone announces.
std::string questionName(const CapturedBonjourService& service);

}  // namespace quillbay
