#include "discovery/InterfaceMonitor.h"

#include <thread>
#include <utility>

#include "platform/InterfaceChanges.h"

namespace quillbay {

struct InterfaceMonitor::State {
    State(const Host& host, PromptSource source)
        : queue(host.network.queueFor(0, "com.local.mirel.Quillbay.interface-monitor")),
          promptSource(std::move(source)),
          interfaceName(host.interfaceName),
          ipv4Address(host.ipv4Address) {}

    void look() {
        std::optional<std::string> address = ipv4Address(interfaceName());
        if (address == lastKnownIP) return;
        lastKnownIP = address;
        if (onChange) onChange(std::move(address));
    }

    const SerialQueue queue;
    const PromptSource promptSource;
    const std::function<std::string()> interfaceName;
    const std::function<std::optional<std::string>(const std::string&)> ipv4Address;
    std::function<void(std::optional<std::string>)> onChange;
    std::optional<std::string> lastKnownIP;
    std::thread::id queueThread;
    bool watching = false;
    std::shared_ptr<void> prompts;
};

InterfaceMonitor::InterfaceMonitor(const Host& host)
    : InterfaceMonitor(host, [](const SerialQueue& queue, std::function<void()> onPrompt) {
          return std::make_shared<InterfaceChanges>(queue, std::move(onPrompt));
      }) {}

InterfaceMonitor::InterfaceMonitor(const Host& host, PromptSource prompts)
    : state_(std::make_shared<State>(host, std::move(prompts))) {}

InterfaceMonitor::~InterfaceMonitor() {
    if (state_->queueThread == std::thread::id()) return;
    const auto end = [this] {
        state_->watching = false;
        state_->prompts.reset();
    };
    if (state_->queueThread == std::this_thread::get_id()) {
        end();
    } else {
        state_->queue.sync(end);
    }
}

void InterfaceMonitor::start() {
    state_->onChange = onChange;
    state_->queue.sync([this] {
        state_->watching = true;
        state_->prompts = state_->promptSource(state_->queue, [weak = std::weak_ptr<State>(state_)] {
            const auto state = weak.lock();
            // A prompt may still be on its way when the monitor goes.
            if (state && state->watching) state->look();
        });
        state_->queueThread = std::this_thread::get_id();
    });
    // The first prompt is on the queue by now: when it has been handled, what the owner does next comes after
    // it.
    state_->queue.sync([] {});
}

}  // namespace quillbay
