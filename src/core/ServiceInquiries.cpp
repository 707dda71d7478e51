#include "core/ServiceInquiries.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

namespace quillbay {

namespace {

constexpr std::chrono::milliseconds answerTime{1500};

// Silence takes the whole answer time. With this many questions at once, a hundred phones that have just left
// do not keep one that is still there from being asked in time.
constexpr std::size_t maxWorkers = 16;

// A multicast packet that is lost in the air is not sent again by anybody else.
constexpr int maxAttempts = 3;

}  // namespace

struct ServiceInquiries::Shared {
    struct Inquiry {
        CapturedBonjourService service;
        int attempts = 0;
    };

    MainQueue& mainQueue;
    Question question;
    std::function<void(const std::string& host)> onAnswered;
    StopSource abandoned;

    std::mutex mutex;
    std::deque<Inquiry> waiting;
    std::set<std::string> asking;
    /// How often each of those who are asked for has been silent since its last answer.
    std::map<std::string, std::uint64_t> silences;
    std::size_t workers = 0;

    Shared(MainQueue& queue, Question asked, std::function<void(const std::string& host)> told)
        : mainQueue(queue), question(std::move(asked)), onAnswered(std::move(told)) {}

    /// The next one to ask for; nothing, and the worker is no longer counted, when there is none.
    std::optional<Inquiry> next(const StopToken& token) {
        const std::lock_guard lock(mutex);
        if (waiting.empty() || token.stopRequested()) {
            --workers;
            return std::nullopt;
        }
        Inquiry inquiry = std::move(waiting.front());
        waiting.pop_front();
        asking.insert(inquiry.service.host);
        return inquiry;
    }

    void asked(Inquiry inquiry, PresenceAnswer answer) {
        const std::lock_guard lock(mutex);
        asking.erase(inquiry.service.host);
        const auto silence = silences.find(inquiry.service.host);
        if (silence != silences.end() && answer == PresenceAnswer::answered) silence->second = 0;
        if (answer != PresenceAnswer::silent) return;
        if (silence != silences.end()) ++silence->second;
        // Behind the others, which have not been asked for at all yet.
        if (++inquiry.attempts < maxAttempts) waiting.push_back(std::move(inquiry));
    }

    /// Replaces what waits. Those who were silent least often come first: however many have left, and however
    /// often they are asked for in vain, one that has just been heard does not wait for them.
    void replaceWaiting(std::vector<CapturedBonjourService> services) {
        std::map<std::string, std::uint64_t> earlier = std::exchange(silences, {});
        for (const CapturedBonjourService& service : services)
            silences.emplace(service.host, earlier[service.host]);
        waiting.clear();
        for (CapturedBonjourService& service : services)
            if (!asking.contains(service.host)) waiting.push_back({std::move(service)});
        const auto rank = [&](const Inquiry& inquiry) {
            return std::tuple(silences.at(inquiry.service.host), std::string_view(inquiry.service.host));
        };
        std::sort(waiting.begin(), waiting.end(),
                  [&](const Inquiry& one, const Inquiry& other) { return rank(one) < rank(other); });
    }

    void work(const StopToken& token) {
        while (std::optional<Inquiry> inquiry = next(token)) {
            const PresenceAnswer answer = question(inquiry->service, answerTime, token);
            if (answer == PresenceAnswer::answered && !token.stopRequested())
                mainQueue.post([told = onAnswered, host = inquiry->service.host] { told(host); });
            asked(*std::move(inquiry), answer);
        }
    }
};

ServiceInquiries::ServiceInquiries(const Host& host, Question question,
                                   std::function<void(const std::string& host)> onAnswered)
    : host_(host),
      shared_(std::make_shared<Shared>(host.mainQueue, std::move(question), std::move(onAnswered))) {}

ServiceInquiries::~ServiceInquiries() {
    shared_->abandoned.requestStop();
}

void ServiceInquiries::ask(std::vector<CapturedBonjourService> services) {
    std::size_t wanted = 0;
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->replaceWaiting(std::move(services));
        wanted = std::min(maxWorkers, shared_->waiting.size());
        wanted -= std::min(wanted, shared_->workers);
        shared_->workers += wanted;
    }
    for (; wanted > 0; --wanted) {
        try {
            host_.background.run([shared = shared_](const StopToken& ending) {
                const StopRegistration atTheEnd =
                    ending.onStop([abandoned = shared->abandoned] { abandoned.requestStop(); });
                shared->work(shared->abandoned.token());
            });
        } catch (const std::system_error&) {
            // No thread to be had: those who run already do the work, or the next call tries again.
            const std::lock_guard lock(shared_->mutex);
            shared_->workers -= wanted;
            return;
        }
    }
}

std::string questionName(const CapturedBonjourService& service) {
    // A dot within the instance's own label would have to be escaped, so its host is asked for instead.
    const bool oneLabel = !service.name.empty() && service.name.find_first_of(".\\") == std::string::npos;
    return oneLabel ? service.name + "." + service.serviceType + "." + service.domain : service.host;
}

}  // namespace quillbay
