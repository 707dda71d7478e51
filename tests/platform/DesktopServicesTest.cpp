// The desktop of Linux: a real bus with a small portal and file manager on it, real tools where it has none.

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <fstream>
#include <optional>

#include "fakes/DesktopTools.h"
#include "fakes/PrivateBus.h"
#include "fakes/ProcessResources.h"
#include "fakes/TemporaryFolder.h"
#include "fakes/TestDesktop.h"
#include "fakes/WaitUntil.h"
#include "platform/AsioMainQueue.h"
#include "platform/UniqueDescriptor.h"
#include "platform/linux/LinuxDesktopServices.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using fakes::DesktopTools;
using fakes::TestDesktop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Manner = TestDesktop::Manner;
using ToolManner = DesktopTools::Manner;

constexpr std::chrono::seconds generous{20};
/// For what does not answer; everything else here answers at once.
constexpr std::chrono::milliseconds soon{150};

const MailDraft letter{"support@example.org", "Subject — “quoted”", "First line\n\nLast line"};

/// What is there before a test begins and after it has ended.
struct Surface {
    fakes::TemporaryFolder folder;
    DesktopTools tools{folder.path()};
    AsioMainQueue mainQueue;
    BackgroundWork background;
};

class DesktopServicesTest : public Surface, public fakes::LeavesNothingBehind {
 protected:
    DesktopServicesTest() { surroundings.busAddress = "unix:path=" + (folder.path() / "none").string(); }

    void startBus(TestDesktop::Services services, const std::string& activated = "") {
        bus.emplace(folder.path(), activated);
        desktop.emplace(bus->address(), services);
        surroundings.busAddress = bus->address();
    }

    LinuxDesktopServices& services() {
        surroundings.opener = tools.opener();
        surroundings.mailComposer = tools.mailComposer();
        if (!made) made.emplace(mainQueue, background, surroundings);
        return *made;
    }

    std::optional<MailAnswer> compose(const MailDraft& draft) {
        std::optional<MailAnswer> answer;
        services().composeMail(draft, [&](MailAnswer given) {
            EXPECT_TRUE(mainQueue.isCurrent());
            answer = given;
        });
        mainQueue.runUntil([&] { return answer.has_value(); }, generous);
        return answer;
    }

    std::optional<bool> reveal(const fs::path& file) {
        std::optional<bool> answer;
        services().revealFile(file, [&](bool shown) { answer = shown; });
        mainQueue.runUntil([&] { return answer.has_value(); }, generous);
        return answer;
    }

    std::optional<bool> openURL(const std::string& url) {
        std::optional<bool> answer;
        services().openURL(url, [&](bool opened) { answer = opened; });
        mainQueue.runUntil([&] { return answer.has_value(); }, generous);
        return answer;
    }

    [[nodiscard]] MailDraft letterWithAttachment() const {
        std::ofstream(attachment()) << "attached bytes";
        fs::permissions(attachment(), fs::perms::owner_read | fs::perms::owner_write);
        MailDraft draft = letter;
        draft.attachment = attachment();
        return draft;
    }
    [[nodiscard]] fs::path attachment() const { return folder.path() / "päck #1.zip"; }

    void TearDown() override {
        tools.endAll();
        desktop.reset();
        bus.reset();
        LeavesNothingBehind::TearDown();
    }

    std::optional<fakes::PrivateBus> bus;
    std::optional<TestDesktop> desktop;
    LinuxDesktopServices::Surroundings surroundings;
    std::optional<LinuxDesktopServices> made;
};

TEST_F(DesktopServicesTest, gives_the_portal_the_attachment_as_a_descriptor) {
    startBus({.emailVersion = 3});
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::opened);
    ASSERT_THAT(desktop->record().mails, SizeIs(1));
    const TestDesktop::Mail mail = desktop->record().mails.at(0);
    EXPECT_THAT(mail.addresses, ElementsAre("support@example.org"));
    EXPECT_EQ(mail.address, "");
    EXPECT_EQ(mail.subject, "Subject — “quoted”");
    EXPECT_EQ(mail.body, "First line\n\nLast line");
    EXPECT_EQ(mail.attachment, "attached bytes");
    EXPECT_EQ(mail.attachmentMode, 0600U);
}

TEST_F(DesktopServicesTest, gives_an_older_portal_the_recipient_under_its_older_name) {
    startBus({.emailVersion = 2});
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    ASSERT_THAT(desktop->record().mails, SizeIs(1));
    EXPECT_EQ(desktop->record().mails.at(0).address, "support@example.org");
    EXPECT_THAT(desktop->record().mails.at(0).addresses, IsEmpty());
    EXPECT_EQ(desktop->record().mails.at(0).attachment, std::nullopt);
}

TEST_F(DesktopServicesTest, a_portal_that_refuses_the_attachment_has_refused_the_draft) {
    tools.installMailComposer(ToolManner::succeeds);
    startBus({.emailVersion = 3, .manner = Manner::refusesAttachments});
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::refused);
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_THAT(tools.mails(), IsEmpty());
}

TEST_F(DesktopServicesTest, a_portal_that_answers_the_attachment_with_an_error_has_refused_the_draft) {
    tools.installMailComposer(ToolManner::succeeds);
    startBus({.emailVersion = 3, .manner = Manner::failsWithAttachments});
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::refused);
    EXPECT_THAT(tools.mails(), IsEmpty());
}

TEST_F(DesktopServicesTest, an_attachment_that_is_gone_is_refused) {
    startBus({.emailVersion = 3});
    MailDraft draft = letter;
    draft.attachment = folder.path() / "gone.zip";
    EXPECT_EQ(compose(draft), MailAnswer::refused);
    EXPECT_THAT(desktop->record().mails, IsEmpty());
}

TEST_F(DesktopServicesTest, a_mail_that_the_user_cancels_is_done) {
    startBus({.emailVersion = 3, .manner = Manner::isCancelled});
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::opened);
}

TEST_F(DesktopServicesTest, hears_a_response_that_overtakes_the_answer) {
    startBus({.emailVersion = 3, .manner = Manner::respondsFirst});
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_LT(std::chrono::steady_clock::now() - before, generous);
}

TEST_F(DesktopServicesTest, a_request_without_a_response_counts_as_taken) {
    surroundings.response = soon;
    startBus({.emailVersion = 3, .manner = Manner::neverResponds});
    EXPECT_EQ(compose(letter), MailAnswer::opened);
}

TEST_F(DesktopServicesTest, a_portal_that_does_not_answer_is_none) {
    tools.installMailComposer(ToolManner::succeeds);
    surroundings.call = soon;
    startBus({.emailVersion = 3, .manner = Manner::isSilent});
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_THAT(tools.mails(), ElementsAre(ElementsAre("--utf8", "--subject", "Subject — “quoted”", "--body",
                                                       "First line\n\nLast line", "support@example.org")));
}

TEST_F(DesktopServicesTest, a_portal_that_cannot_be_started_is_none) {
    tools.installMailComposer(ToolManner::succeeds);
    startBus({}, "org.freedesktop.portal.Desktop=/bin/false");
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_THAT(tools.mails(), SizeIs(1));
}

TEST_F(DesktopServicesTest, a_portal_without_mail_leaves_it_to_the_tool) {
    tools.installMailComposer(ToolManner::succeeds);
    startBus({.openVersion = 4});
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::opened);
    EXPECT_THAT(tools.mails(), ElementsAre(ElementsAre("--utf8", "--subject", "Subject — “quoted”", "--body",
                                                       "First line\n\nLast line", "--attach",
                                                       attachment().string(), "support@example.org")));
}

TEST_F(DesktopServicesTest, without_a_bus_the_tool_composes) {
    tools.installMailComposer(ToolManner::succeeds);
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_THAT(tools.mails(), SizeIs(1));
}

TEST_F(DesktopServicesTest, a_bus_that_never_answers_is_none) {
    tools.installMailComposer(ToolManner::succeeds);
    surroundings.call = soon;
    const fs::path path = folder.path() / "deaf";
    const UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(&address.sun_path[0], sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(socket.get(), 1), 0);
    surroundings.busAddress = "unix:path=" + path.string();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_LT(std::chrono::steady_clock::now() - before, generous);
    EXPECT_THAT(tools.mails(), SizeIs(1));
}

TEST_F(DesktopServicesTest, a_tool_that_refuses_the_attachment_has_refused_the_draft) {
    tools.installMailComposer(ToolManner::failsWithAttachment);
    EXPECT_EQ(compose(letterWithAttachment()), MailAnswer::refused);
    EXPECT_EQ(compose(letter), MailAnswer::opened);
}

TEST_F(DesktopServicesTest, a_tool_that_becomes_the_mail_program_is_left_running) {
    tools.installMailComposer(ToolManner::staysRunning);
    surroundings.tool = soon;
    EXPECT_EQ(compose(letter), MailAnswer::opened);
    EXPECT_TRUE(fakes::hasChildren());
}

TEST_F(DesktopServicesTest, without_a_bus_and_a_tool_there_is_no_composer) {
    EXPECT_EQ(compose(letter), MailAnswer::unavailable);
}

TEST_F(DesktopServicesTest, texts_that_a_bus_cannot_carry_are_made_so_that_it_can) {
    startBus({.emailVersion = 3});
    MailDraft draft = letter;
    draft.body = std::string("one\0two\xFF", 8);
    EXPECT_EQ(compose(draft), MailAnswer::opened);
    EXPECT_EQ(desktop->record().mails.at(0).body, "one\uFFFDtwo\uFFFD");
}

TEST_F(DesktopServicesTest, the_end_of_the_background_work_ends_every_wait) {
    tools.installMailComposer(ToolManner::succeeds);
    tools.installOpener(ToolManner::succeeds);
    surroundings.mailComposer = tools.mailComposer();
    surroundings.opener = tools.opener();
    startBus({.emailVersion = 3, .manner = Manner::isSilent});
    surroundings.call = std::chrono::hours(1);
    auto work = std::make_unique<BackgroundWork>();
    LinuxDesktopServices abandoned(mainQueue, *work, surroundings);
    bool answered = false;
    abandoned.composeMail(letter, [&](MailAnswer) { answered = true; });
    abandoned.revealFile("/tmp/file", [&](bool) { answered = true; });
    const auto before = std::chrono::steady_clock::now();
    work.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, generous);
    bool last = false;
    mainQueue.post([&] { last = true; });
    mainQueue.runUntil([&] { return last; }, generous);
    EXPECT_FALSE(answered);
    // A tool that had been started would have ended by then, and left its record.
    desktop.reset();
    bus.reset();
    ASSERT_TRUE(fakes::waitUntil([] { return !fakes::hasChildren(); }));
    EXPECT_THAT(tools.mails(), IsEmpty());
    EXPECT_THAT(tools.opened(), IsEmpty());
}

TEST_F(DesktopServicesTest, shows_the_file_itself_in_the_file_manager) {
    startBus({.openVersion = 4, .fileManager = true});
    EXPECT_EQ(reveal("/tmp/a b/päck #1%.zip"), true);
    EXPECT_THAT(desktop->record().shownItems, ElementsAre("file:///tmp/a%20b/p%C3%A4ck%20%231%25.zip"));
    EXPECT_THAT(desktop->record().openedFolders, IsEmpty());
}

TEST_F(DesktopServicesTest, without_a_file_manager_the_portal_opens_the_folder) {
    tools.installOpener(ToolManner::succeeds);
    startBus({.openVersion = 3});
    const fs::path file = *letterWithAttachment().attachment;
    EXPECT_EQ(reveal(file), true);
    EXPECT_THAT(desktop->record().openedFolders, ElementsAre(file.string()));
    EXPECT_THAT(tools.opened(), IsEmpty());
}

TEST_F(DesktopServicesTest, a_portal_that_cannot_open_folders_leaves_it_to_the_tool) {
    tools.installOpener(ToolManner::succeeds);
    startBus({.openVersion = 2});
    EXPECT_EQ(reveal(*letterWithAttachment().attachment), true);
    EXPECT_THAT(tools.opened(), ElementsAre(ElementsAre(folder.path().string())));
}

TEST_F(DesktopServicesTest, nothing_can_be_shown_where_there_is_nobody_to_show_it) {
    EXPECT_EQ(reveal("/tmp/file.zip"), false);
    EXPECT_EQ(openURL("https://example.org/"), false);
}

TEST_F(DesktopServicesTest, the_portal_opens_addresses) {
    tools.installOpener(ToolManner::succeeds);
    startBus({.openVersion = 1});
    EXPECT_EQ(openURL("mailto:support@example.org?subject=A%20B"), true);
    EXPECT_THAT(desktop->record().openedURIs, ElementsAre("mailto:support@example.org?subject=A%20B"));
    EXPECT_THAT(tools.opened(), IsEmpty());
}

TEST_F(DesktopServicesTest, an_address_that_the_portal_refuses_goes_to_the_tool) {
    tools.installOpener(ToolManner::succeeds);
    startBus({.openVersion = 4, .manner = Manner::refuses});
    EXPECT_EQ(openURL("https://example.org/"), true);
    EXPECT_THAT(tools.opened(), ElementsAre(ElementsAre("https://example.org/")));
}

TEST_F(DesktopServicesTest, a_tool_that_fails_has_opened_nothing) {
    tools.installOpener(ToolManner::fails);
    EXPECT_EQ(openURL("https://example.org/"), false);
}

}  // namespace
}  // namespace quillbay
