#include "bridge/DNSServiceProxy.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>

#include "bridge/ChildrenSupport.h"
#include "fakes/TemporaryFolder.h"
#include "platform/PrintedError.h"

namespace quillbay {
namespace {

using children::eventually;
using children::exists;
using Registration = DNSServiceProxy::Registration;
using Strings = std::vector<std::string>;

const std::string toolFolder = QUILLBAY_TEST_TOOLS;

class DNSServiceProxyTest : public ::testing::Test {
 protected:
    DNSServiceProxyTest() {
        tools.ps = {toolFolder + "/fake-ps", {(folder.path() / "ps").string()}};
        beSoon("obey");
        setProcessList("");
    }

    /// How the next `dns-sd` behaves.
    void beSoon(const std::string& manner) {
        tools.dnsSD = {toolFolder + "/fake-dns-sd", {folder.path().string(), manner}};
    }

    void setProcessList(const std::string& text) {
        std::ofstream(folder.path() / "ps", std::ios::binary) << text;
    }

    /// The calls of `dns-sd` so far that have got as far as recording their arguments.
    [[nodiscard]] std::map<pid_t, Strings> calls() const {
        std::map<pid_t, Strings> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with("call-"))
                found[std::stoi(name.substr(5))] = children::zeroEnded(children::contentOf(entry.path()));
        }
        return found;
    }

    /// Starts `proxy` and waits until its child runs; returns that child's id.
    pid_t startAndWait(DNSServiceProxy& proxy, const Registration& registration) {
        const auto before = calls();
        proxy.start(registration);
        return newCall(before);
    }

    pid_t newCall(const std::map<pid_t, Strings>& before) {
        EXPECT_TRUE(eventually([&] { return calls().size() > before.size(); }));
        for (const auto& [pid, arguments] : calls())
            if (!before.contains(pid)) return pid;
        ADD_FAILURE() << "no dns-sd was launched";
        return 0;
    }

    /// A registration that some other run left behind.
    ChildProcess leftover() {
        const auto before = calls();
        ChildProcess child = ChildProcess::launch({tools.dnsSD.executable, tools.dnsSD.leadingArguments});
        newCall(before);
        return child;
    }

    static Registration phone() {
        return {"Phone", "_remotepairing._tcp", 49152, "iPhone.local", "192.168.77.1",
                "en0",   {{"ver", "19"}}};
    }

    fakes::TemporaryFolder folder;
    HostTools tools;
};

TEST_F(DNSServiceProxyTest, a_record_without_txt_has_exactly_nine_arguments) {
    Registration registration = phone();
    registration.txtRecord.clear();
    EXPECT_EQ(DNSServiceProxy::arguments(registration),
              (Strings{"-i", "en0", "-P", "Phone", "_remotepairing._tcp", "local", "49152", "iPhone.local",
                       "192.168.77.1"}));
}

TEST_F(DNSServiceProxyTest, a_txt_value_with_equals_and_blanks_reaches_the_child_in_one_argument) {
    Registration registration = phone();
    registration.instanceName = "Zoë's \"iPhone\" 📱\n2";
    registration.txtRecord = {{"a", "b = c  d"}, {"b", ""}, {"q", "\"x\" '$HOME' \\ \n*"}};
    DNSServiceProxy proxy(tools);
    const pid_t pid = startAndWait(proxy, registration);
    EXPECT_EQ(calls()[pid],
              (Strings{"-i", "en0", "-P", "Zoë's \"iPhone\" 📱\n2", "_remotepairing._tcp", "local", "49152",
                       "iPhone.local", "192.168.77.1", "a=b = c  d", "b=", "q=\"x\" '$HOME' \\ \n*"}));
}

TEST_F(DNSServiceProxyTest, the_registration_lasts_until_stop_which_waits_for_its_end) {
    beSoon("slow");
    DNSServiceProxy proxy(tools);
    const pid_t pid = startAndWait(proxy, phone());
    EXPECT_TRUE(exists(pid));
    proxy.stop();
    EXPECT_TRUE(std::filesystem::exists(folder.path() / ("ended-" + std::to_string(pid))));
    EXPECT_FALSE(exists(pid));
    proxy.stop();
}

TEST_F(DNSServiceProxyTest, stop_before_any_start_does_nothing) {
    DNSServiceProxy proxy(tools);
    proxy.stop();
    EXPECT_TRUE(calls().empty());
}

TEST_F(DNSServiceProxyTest, stop_makes_a_child_end_that_ignores_the_request) {
    beSoon("ignore");
    DNSServiceProxy proxy(tools);
    const pid_t pid = startAndWait(proxy, phone());
    const auto began = std::chrono::steady_clock::now();
    proxy.stop();
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_FALSE(exists(pid));
    EXPECT_GE(took, std::chrono::milliseconds(1900));
    EXPECT_LT(took, std::chrono::seconds(10));
}

TEST_F(DNSServiceProxyTest, a_child_that_died_by_itself_is_noticed_at_the_next_stop) {
    beSoon("die");
    DNSServiceProxy proxy(tools);
    const pid_t pid = startAndWait(proxy, phone());
    EXPECT_TRUE(eventually([&] { return !exists(pid); }));
    proxy.stop();
    beSoon("obey");
}

TEST_F(DNSServiceProxyTest, destruction_ends_the_registration) {
    pid_t pid = 0;
    {
        DNSServiceProxy proxy(tools);
        pid = startAndWait(proxy, phone());
        EXPECT_TRUE(exists(pid));
    }
    EXPECT_FALSE(exists(pid));
}

TEST_F(DNSServiceProxyTest, a_second_start_ends_the_first_child_before_it_launches_the_next) {
    DNSServiceProxy proxy(tools);
    const pid_t first = startAndWait(proxy, phone());
    proxy.start(phone());
    EXPECT_FALSE(exists(first));
    EXPECT_TRUE(eventually([&] { return calls().size() == 2; }));
}

TEST_F(DNSServiceProxyTest, start_ends_other_registrations_of_the_same_instance_only) {
    const ChildProcess same = leftover();
    const ChildProcess longer = leftover();
    const ChildProcess other = leftover();
    setProcessList(
        "  " + std::to_string(same.pid()) + " /usr/bin/dns-sd -i en0 -P Phone _t._tcp local 1 h 1.2.3.4\n  " +
        std::to_string(longer.pid()) + " /usr/bin/dns-sd -i en0 -P Phone 2 _t._tcp local 1 h 1.2.3.4\n  " +
        std::to_string(other.pid()) + " /usr/bin/dns-sd -i en0 -P Tablet _t._tcp local 1 h 1.2.3.4\n");
    DNSServiceProxy proxy(tools);
    startAndWait(proxy, phone());
    EXPECT_EQ(same.waitForExit().signal, SIGTERM);
    EXPECT_EQ(longer.waitForExit().signal, SIGTERM);
    EXPECT_TRUE(other.isRunning());
    other.terminateAndWait();
}

TEST_F(DNSServiceProxyTest, a_failed_launch_is_thrown_with_its_cause) {
    tools.dnsSD.executable = (folder.path() / "missing").string();
    DNSServiceProxy proxy(tools);
    try {
        proxy.start(phone());
        FAIL() << "nothing was thrown";
    } catch (const DNSServiceProxy::ProxyError& error) {
        EXPECT_EQ(error.kind(), DNSServiceProxy::ProxyError::Kind::processLaunchFailed);
        EXPECT_STREQ(error.what(),
                     "processLaunchFailed(POSIXErrorCode(rawValue: 2): No such file or directory)");
        EXPECT_EQ(printedError(error.underlying()), "POSIXErrorCode(rawValue: 2): No such file or directory");
    }
    proxy.stop();
}

TEST_F(DNSServiceProxyTest, a_missing_registration_prints_as_its_case) {
    const auto error = DNSServiceProxy::ProxyError::notRunning();
    EXPECT_EQ(error.kind(), DNSServiceProxy::ProxyError::Kind::notRunning);
    EXPECT_STREQ(error.what(), "notRunning");
    EXPECT_EQ(error.underlying(), nullptr);
}

TEST_F(DNSServiceProxyTest, asks_for_every_process_with_id_and_command_line) {
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, {});
    EXPECT_EQ(children::zeroEnded(children::contentOf(folder.path() / "ps.arguments")),
              (Strings{"-axo", "pid=,command="}));
}

TEST_F(DNSServiceProxyTest, the_clean_up_ends_every_leftover_and_says_so_once) {
    const ChildProcess first = leftover();
    const ChildProcess second = leftover();
    const std::string one = std::to_string(first.pid());
    const std::string two = std::to_string(second.pid());
    setProcessList("  " + one + " /usr/bin/dns-sd -i en0 -P A _t._tcp local 1 h 1.2.3.4\n" + two +
                   " dns-sd -P B\n");
    Strings lines;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools,
                                                   [&](const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(first.waitForExit().signal, SIGTERM);
    EXPECT_EQ(second.waitForExit().signal, SIGTERM);
    EXPECT_EQ(lines, Strings{"Cleared 2 leftover Bonjour proxy registration(s) from a previous launch (pid " +
                             one + ", " + two + ")."});
}

TEST_F(DNSServiceProxyTest, a_leftover_that_is_gone_by_now_is_counted_too) {
    const ChildProcess gone = leftover();
    gone.terminateAndWait();
    const std::string pid = std::to_string(gone.pid());
    setProcessList(pid + " dns-sd -P A\n");
    Strings lines;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools,
                                                   [&](const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(lines, Strings{"Cleared 1 leftover Bonjour proxy registration(s) from a previous launch (pid " +
                             pid + ")."});
}

TEST_F(DNSServiceProxyTest, a_browse_or_zone_dump_is_never_signalled) {
    const ChildProcess browse = leftover();
    const ChildProcess dump = leftover();
    setProcessList(std::to_string(browse.pid()) + " /usr/bin/dns-sd -B _t._tcp\n" +
                   std::to_string(dump.pid()) + " /usr/bin/dns-sd -Z _t._tcp local\n");
    int lines = 0;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, [&](const std::string&) { ++lines; });
    DNSServiceProxy::killOrphanedRegistrations(tools, "_t._tcp");
    EXPECT_TRUE(browse.isRunning());
    EXPECT_TRUE(dump.isRunning());
    EXPECT_EQ(lines, 0);
    browse.terminateAndWait();
    dump.terminateAndWait();
}

TEST_F(DNSServiceProxyTest, without_leftovers_the_clean_up_logs_nothing) {
    setProcessList("    1 /sbin/init\n  812 /usr/bin/dns-sd -Z _t._tcp local\n");
    int lines = 0;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, [&](const std::string&) { ++lines; });
    EXPECT_EQ(lines, 0);
}

TEST_F(DNSServiceProxyTest, a_clean_up_without_a_log_still_ends_leftovers) {
    const ChildProcess child = leftover();
    setProcessList(std::to_string(child.pid()) + " dns-sd -P A\n");
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, {});
    EXPECT_EQ(child.waitForExit().signal, SIGTERM);
}

TEST_F(DNSServiceProxyTest, a_process_list_that_is_not_utf8_ends_nothing) {
    const ChildProcess child = leftover();
    setProcessList(std::to_string(child.pid()) + " dns-sd -P A\n7 \xFF\n");
    int lines = 0;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, [&](const std::string&) { ++lines; });
    EXPECT_TRUE(child.isRunning());
    EXPECT_EQ(lines, 0);
    child.terminateAndWait();
}

TEST_F(DNSServiceProxyTest, a_missing_ps_keeps_nobody_from_going_on) {
    tools.ps.executable = (folder.path() / "missing").string();
    int lines = 0;
    DNSServiceProxy::killAllOrphanedProxyProcesses(tools, [&](const std::string&) { ++lines; });
    EXPECT_EQ(lines, 0);
    DNSServiceProxy proxy(tools);
    EXPECT_TRUE(exists(startAndWait(proxy, phone())));
}

TEST_F(DNSServiceProxyTest, many_starts_and_stops_leave_no_descriptor_behind) {
    DNSServiceProxy proxy(tools);
    startAndWait(proxy, phone());
    proxy.stop();
    const auto before = children::openDescriptors();
    for (int i = 0; i < 10; ++i)
        proxy.start(phone());
    proxy.stop();
    EXPECT_TRUE(eventually([&] { return children::openDescriptors() <= before; }));
}

/// A variable of this process, with its old value afterwards.
class TemporaryVariable {
 public:
    TemporaryVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) before_ = old;
        ::setenv(name, value, 1);
    }
    ~TemporaryVariable() {
        if (before_)
            ::setenv(name_, before_->c_str(), 1);
        else
            ::unsetenv(name_);
    }
    TemporaryVariable(const TemporaryVariable&) = delete;
    TemporaryVariable& operator=(const TemporaryVariable&) = delete;

 private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST_F(DNSServiceProxyTest,
       finds_a_leftover_by_the_real_process_list_in_a_narrow_terminal_and_a_plain_locale) {
    const TemporaryVariable narrow("COLUMNS", "40");
    const TemporaryVariable plain("LC_ALL", "C");
    tools.ps = HostTools::system(programDirectory()).ps;
    beSoon("keep");
    // A name that no other registration on this computer has.
    const std::string name = "Robin’s iPhone " + folder.path().filename().string();
    ChildCommand command{tools.dnsSD.executable, tools.dnsSD.leadingArguments};
    command.arguments.insert(command.arguments.end(), {"-i", "en0", "-P", name});
    const ChildProcess leftover = ChildProcess::launch(command);
    ASSERT_TRUE(eventually([&] { return calls().contains(leftover.pid()); }));
    DNSServiceProxy::killOrphanedRegistrations(tools, name);
    EXPECT_TRUE(eventually([&] { return !leftover.isRunning(); }));
    leftover.terminateAndWait();
}

}  // namespace
}  // namespace quillbay
