#include "discovery/InterfaceMonitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "fakes/Leaks.h"
#include "platform/AsioMainQueue.h"
#include "platform/PrintedError.h"

namespace quillbay {
namespace {

using Address = std::optional<std::string>;

class InterfaceMonitorTest : public testing::Test {
 protected:
    /// Shows the address to the monitor by a prompt and waits until it has looked.
    void show(const Address& address) {
        network_.drain();
        address_ = address;
        queue_->post(prompt_);
        network_.drain();
    }

    InterfaceMonitor::PromptSource source() {
        return [this](const SerialQueue& queue, std::function<void()> onPrompt) {
            queue_.emplace(queue);
            prompt_ = std::move(onPrompt);
            return std::shared_ptr<void>(std::make_shared<int>());
        };
    }

    void record(InterfaceMonitor& monitor) {
        monitor.onChange = [this](Address address) { changes_.push_back(std::move(address)); };
    }

    AsioMainQueue mainQueue_;
    NetworkThreads network_{2};
    BackgroundWork background_;
    SystemClock clock_;
    SystemRandomSource random_;
    Address address_;
    std::vector<std::string> asked_;
    Host host_{mainQueue_,
               network_,
               background_,
               clock_,
               random_,
               {},
               {},
               [] { return std::string("en0"); },
               [this](const std::string& name) {
                   asked_.push_back(name);
                   return address_;
               }};
    std::optional<SerialQueue> queue_;
    std::function<void()> prompt_;
    std::vector<Address> changes_;
};

TEST_F(InterfaceMonitorTest, the_first_prompt_reports_the_current_address) {
    InterfaceMonitor monitor(host_, source());
    record(monitor);
    monitor.start();
    EXPECT_TRUE(asked_.empty());
    show("192.168.1.2");
    EXPECT_EQ(changes_, std::vector<Address>{"192.168.1.2"});
    EXPECT_EQ(asked_, std::vector<std::string>{"en0"});
    EXPECT_EQ(queue_->label(), "com.local.mirel.Quillbay.interface-monitor");
}

TEST_F(InterfaceMonitorTest, the_first_prompt_is_silent_without_an_address) {
    InterfaceMonitor monitor(host_, source());
    record(monitor);
    monitor.start();
    show(std::nullopt);
    EXPECT_TRUE(changes_.empty());
}

TEST_F(InterfaceMonitorTest, a_change_is_reported_once_and_a_further_prompt_says_nothing) {
    InterfaceMonitor monitor(host_, source());
    record(monitor);
    monitor.start();
    show("10.0.0.1");
    show("10.0.0.2");
    show("10.0.0.2");
    EXPECT_EQ(changes_, (std::vector<Address>{"10.0.0.1", "10.0.0.2"}));
}

TEST_F(InterfaceMonitorTest, losing_the_address_and_regaining_it_are_reported_once_each) {
    InterfaceMonitor monitor(host_, source());
    record(monitor);
    monitor.start();
    show("10.0.0.1");
    show(std::nullopt);
    show(std::nullopt);
    show("10.0.0.1");
    EXPECT_EQ(changes_, (std::vector<Address>{"10.0.0.1", std::nullopt, "10.0.0.1"}));
}

TEST_F(InterfaceMonitorTest, works_without_a_callback) {
    InterfaceMonitor monitor(host_, source());
    monitor.start();
    show("10.0.0.1");
    EXPECT_EQ(asked_.size(), 1U);
}

TEST_F(InterfaceMonitorTest, a_destroyed_monitor_ignores_late_prompts) {
    {
        InterfaceMonitor monitor(host_, source());
        record(monitor);
        monitor.start();
        show("10.0.0.1");
    }
    show("10.0.0.2");
    EXPECT_EQ(changes_, std::vector<Address>{"10.0.0.1"});
}

TEST_F(InterfaceMonitorTest, may_be_destroyed_by_its_own_callback) {
    auto monitor = std::make_unique<InterfaceMonitor>(host_, source());
    monitor->onChange = [&](Address address) {
        monitor.reset();
        changes_.push_back(std::move(address));
    };
    monitor->start();
    show("10.0.0.1");
    show("10.0.0.2");
    EXPECT_EQ(changes_, std::vector<Address>{"10.0.0.1"});
}

TEST_F(InterfaceMonitorTest, a_source_that_cannot_be_made_makes_the_start_fail) {
    InterfaceMonitor monitor(host_,
                             [](const SerialQueue&, const std::function<void()>&) -> std::shared_ptr<void> {
                                 throw systemError(13);
                             });
    EXPECT_THROW(monitor.start(), std::system_error);
}

TEST_F(InterfaceMonitorTest, the_systems_own_prompts_report_the_address_and_leave_nothing_open) {
    // The loop's own descriptors come with its first socket.
    {
        InterfaceMonitor(host_).start();
    }
    network_.drain();
    const std::size_t descriptors = fakes::openDescriptors();
    address_ = "10.0.0.9";
    std::atomic<bool> reported = false;
    {
        InterfaceMonitor monitor(host_);
        monitor.onChange = [&](const Address& address) { reported = address == "10.0.0.9"; };
        monitor.start();
        EXPECT_TRUE(mainQueue_.runUntil([&] { return reported.load(); }, std::chrono::seconds(10)));
    }
    network_.drain();
    EXPECT_EQ(fakes::openDescriptors(), descriptors);
}

}  // namespace
}  // namespace quillbay
