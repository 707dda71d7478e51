#include "core/DiagnosticsReport.h"

#include <gmock/gmock.h>

#include <deque>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

#include "core/InTimeZone.h"
#include "core/SupportAddress.h"
#include "core/ZipContents.h"
#include "fakes/TestHost.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;
using fakes::zipContents;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A desktop that does what the test says, and no more than that.
class ScriptedDesktop final : public DesktopServices {
 public:
    explicit ScriptedDesktop(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

    void composeMail(MailDraft draft, std::function<void(MailAnswer)> done) override {
        mails.push_back(std::move(draft));
        events.emplace_back("mail");
        if (answers.empty()) {
            held.push_back(std::move(done));
            return;
        }
        mainQueue_.post([done = std::move(done), answer = answers.front()] { done(answer); });
        answers.pop_front();
    }
    void revealFile(fs::path file, Done done) override {
        events.push_back("reveal " + file.string());
        mainQueue_.post([done = std::move(done), shows = shows] { done(shows); });
    }
    void openURL(std::string url, Done done) override {
        events.push_back("open " + url);
        mainQueue_.post([done = std::move(done), shows = shows] { done(shows); });
    }

    /// One per mail; a mail without one is not answered.
    std::deque<MailAnswer> answers;
    std::vector<std::function<void(MailAnswer)>> held;
    bool shows = true;
    std::vector<MailDraft> mails;
    std::vector<std::string> events;

 private:
    MainQueue& mainQueue_;
};

class DiagnosticsReportTest : public ::testing::Test {
 protected:
    DiagnosticsReportTest() {
        world.host.files.temporary = temporary;
        world.host.desktop = &desktop;
    }

    DiagnosticsReport& report() {
        if (!made) made = DiagnosticsReport::make(world.host, *logs, zipLimit);
        return *made;
    }

    bool untilMails(std::size_t count) {
        return world.until([this, count] { return desktop.mails.size() == count; });
    }
    bool untilUserLines(std::size_t count) {
        return world.until([this, count] { return logs->userLines().size() == count; });
    }
    [[nodiscard]] std::string lastUserLine() const { return logs->userLines().back(); }

    /// A stand-in for the tool that does what the shell is told; "$3" is the archive.
    void useZip(const std::string& script) { world.host.tools.zip = {"/bin/sh", {"-c", script, "zip"}}; }

    /// Runs one report to the end of `writeTo`.
    std::optional<std::string> write(const fs::path& archive) {
        bool done = false;
        std::optional<std::string> failure;
        report().writeTo(archive, "HEADER", [&](std::optional<std::string> error) {
            failure = std::move(error);
            done = true;
        });
        EXPECT_TRUE(world.until([&] { return done; }));
        return failure;
    }

    fakes::InTimeZone utc{"UTC"};
    fakes::TestHost world;
    ScriptedDesktop desktop{world.mainQueue};
    const fs::path temporary = world.folder.path() / "tmp";
    // The clock stands at 2023-11-14 22:13:20.
    const fs::path folder = temporary / "quillbay-diagnostics-2023-11-14_22-13-20";
    const fs::path zip = temporary / "quillbay-diagnostics-2023-11-14_22-13-20.zip";
    std::chrono::milliseconds zipLimit = std::chrono::seconds(60);
    std::optional<AppLogStore> logs{std::in_place, world.host.files, world.clock};
    std::shared_ptr<DiagnosticsReport> made;
};

TEST_F(DiagnosticsReportTest, opens_a_mail_to_the_support_team_with_the_archive) {
    desktop.answers = {MailAnswer::opened};
    logs->diagnostic("first");
    logs->user("second");
    report().sendToSupport("HEADER\n--- log ---", "BODY");
    ASSERT_TRUE(untilMails(1));
    world.settle();
    const MailDraft& mail = desktop.mails.at(0);
    EXPECT_EQ(mail.recipient, supportAddress());
    EXPECT_EQ(mail.subject, "Quillbay Diagnostics");
    EXPECT_EQ(mail.body, "BODY");
    EXPECT_EQ(mail.attachment, zip);
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log",
                                                   "HEADER\n--- log ---\n"
                                                   "2023-11-14 22:13:20.000  first\n"
                                                   "2023-11-14 22:13:20.000  USER  second")));
    EXPECT_THAT(desktop.events, ElementsAre("mail"));
    EXPECT_THAT(logs->userLines(), ElementsAre("second"));
}

TEST_F(DiagnosticsReportTest, an_empty_log_still_yields_a_zip_holding_the_header) {
    desktop.answers = {MailAnswer::opened};
    report().sendToSupport("HEADER\n--- log ---", "BODY");
    ASSERT_TRUE(untilMails(1));
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "HEADER\n--- log ---\n")));
}

TEST_F(DiagnosticsReportTest, two_in_the_same_second_reuse_the_names_one_after_the_other) {
    report().sendToSupport("FIRST", "one");
    report().sendToSupport("SECOND", "two");
    ASSERT_TRUE(untilMails(1));
    world.settle();
    // The first is still with the composer: nothing of it is touched.
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "FIRST\n")));
    EXPECT_EQ(world.background.pending(), 0U);
    std::ofstream(folder / "left over") << "old";
    desktop.held.at(0)(MailAnswer::opened);
    ASSERT_TRUE(untilMails(2));
    EXPECT_EQ(desktop.mails.at(1).body, "two");
    EXPECT_EQ(desktop.mails.at(1).attachment, zip);
    EXPECT_THAT(zipContents(zip), ElementsAre(Pair("diagnostics.log", "SECOND\n")));
    EXPECT_FALSE(fs::exists(folder / "left over"));
}

TEST_F(DiagnosticsReportTest, without_a_composer_it_shows_the_zip_and_opens_the_address) {
    desktop.answers = {MailAnswer::unavailable};
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_THAT(desktop.events, ElementsAre("mail", "reveal " + zip.string(),
                                            std::string("open mailto:") + supportAddress() +
                                                "?subject=Quillbay%20Diagnostics"));
    EXPECT_EQ(lastUserLine(), "Mail composer unavailable — zip revealed in Finder.");
    EXPECT_TRUE(fs::exists(zip));
}

TEST_F(DiagnosticsReportTest, a_composer_that_takes_no_attachment_gets_the_body_with_the_path) {
    desktop.answers = {MailAnswer::refused, MailAnswer::opened};
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_THAT(desktop.events, ElementsAre("mail", "reveal " + zip.string(), "mail"));
    EXPECT_EQ(desktop.mails.at(1).recipient, supportAddress());
    EXPECT_EQ(desktop.mails.at(1).subject, "Quillbay Diagnostics");
    EXPECT_EQ(desktop.mails.at(1).body,
              "BODY\n\n(Attachment could not be added automatically — zip is selected in Finder:\n" +
                  zip.string() + ")");
    EXPECT_EQ(desktop.mails.at(1).attachment, std::nullopt);
    EXPECT_EQ(lastUserLine(), "Couldn't attach the zip automatically — file revealed in Finder.");
}

TEST_F(DiagnosticsReportTest, a_composer_that_refuses_everything_is_none) {
    desktop.answers = {MailAnswer::refused, MailAnswer::refused};
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_THAT(desktop.events, ElementsAre("mail", "reveal " + zip.string(), "mail",
                                            std::string("open mailto:") + supportAddress() +
                                                "?subject=Quillbay%20Diagnostics"));
    EXPECT_EQ(lastUserLine(), "Mail composer unavailable — zip revealed in Finder.");
}

TEST_F(DiagnosticsReportTest, without_a_desktop_the_log_tells_where_the_zip_is) {
    world.host.desktop = nullptr;
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(), "Mail composer unavailable — zip revealed in Finder.");
    EXPECT_THAT(
        logs->diagnosticLines(),
        ElementsAre("2023-11-14 22:13:20.000  No file browser could show " + zip.string(),
                    "2023-11-14 22:13:20.000  The support address could not be opened.",
                    "2023-11-14 22:13:20.000  USER  Mail composer unavailable — zip revealed in Finder."));
}

TEST_F(DiagnosticsReportTest, a_failing_zip_is_told_and_opens_nothing) {
    useZip("echo 'zip error: no space' >&2; exit 14");
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(), "Couldn't prepare the diagnostics zip: zip error: no space");
    EXPECT_THAT(desktop.events, IsEmpty());
    EXPECT_TRUE(fs::exists(folder / "diagnostics.log"));
}

TEST_F(DiagnosticsReportTest, a_zip_that_fails_without_a_word_is_told_by_its_status) {
    useZip("exit 12");
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(), "Couldn't prepare the diagnostics zip: zip exited with status 12");
}

TEST_F(DiagnosticsReportTest, a_missing_zip_is_told) {
    world.host.tools.zip = {(world.folder.path() / "zip").string(), {}};
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(),
              "Couldn't prepare the diagnostics zip: POSIXErrorCode(rawValue: 2): No such file or directory");
    EXPECT_THAT(desktop.events, IsEmpty());
}

TEST_F(DiagnosticsReportTest, a_zip_that_hangs_holds_up_nothing_else_and_is_told) {
    zipLimit = std::chrono::milliseconds(300);
    useZip("exec sleep 600");
    report().sendToSupport("HEADER", "BODY");
    world.settle();
    EXPECT_EQ(world.background.pending(), 1U);
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(), "Couldn't prepare the diagnostics zip: zip did not end within 1 seconds");
}

TEST_F(DiagnosticsReportTest, an_unusable_temporary_folder_is_told) {
    std::ofstream(temporary) << "a file";
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    EXPECT_EQ(lastUserLine(),
              "Couldn't prepare the diagnostics zip: POSIXErrorCode(rawValue: 20): Not a directory");
}

TEST_F(DiagnosticsReportTest, a_failed_report_is_followed_by_the_next) {
    std::ofstream(temporary) << "a file";
    report().sendToSupport("FIRST", "BODY");
    ASSERT_TRUE(untilUserLines(1));
    fs::remove(temporary);
    report().sendToSupport("SECOND", "BODY");
    ASSERT_TRUE(untilMails(1));
    EXPECT_THAT(
        zipContents(zip),
        ElementsAre(Pair("diagnostics.log",
                         "SECOND\n2023-11-14 22:13:20.000  USER  Couldn't prepare the diagnostics zip: "
                         "POSIXErrorCode(rawValue: 20): Not a directory")));
}

TEST_F(DiagnosticsReportTest, dropped_in_the_middle_it_says_nothing_more) {
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilMails(1));
    made.reset();
    logs.reset();
    desktop.held.at(0)(MailAnswer::refused);
    EXPECT_TRUE(world.until([this] { return world.background.pending() == 0; }));
    world.settle();
    EXPECT_THAT(desktop.events, ElementsAre("mail"));
}

TEST_F(DiagnosticsReportTest, dropped_while_it_writes_a_file_it_says_nothing_more) {
    zipLimit = std::chrono::milliseconds(100);
    useZip("exec sleep 600");
    bool answered = false;
    report().writeTo(world.folder.path() / "report.zip", "HEADER", [&](const auto&) { answered = true; });
    EXPECT_EQ(world.background.pending(), 1U);
    made.reset();
    EXPECT_TRUE(world.until([this] { return world.background.pending() == 0; }));
    world.settle();
    EXPECT_FALSE(answered);
}

TEST_F(DiagnosticsReportTest, the_end_of_the_background_work_ends_a_zip_that_hangs) {
    useZip("exec sleep 600");
    auto background = std::make_unique<BackgroundWork>();
    const Host host{world.mainQueue, world.network,    *background,     world.clock,
                    world.random,    world.host.files, world.host.tools};
    const auto abandoned = DiagnosticsReport::make(host, *logs);
    abandoned->sendToSupport("HEADER", "BODY");
    const auto before = std::chrono::steady_clock::now();
    background.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(20));
}

TEST_F(DiagnosticsReportTest, writes_the_same_to_a_file) {
    logs->diagnostic("line");
    EXPECT_EQ(write(world.folder.path() / "report.zip"), std::nullopt);
    EXPECT_THAT(zipContents(world.folder.path() / "report.zip"),
                ElementsAre(Pair("diagnostics.log", "HEADER\n2023-11-14 22:13:20.000  line")));
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_THAT(desktop.events, IsEmpty());
    EXPECT_THAT(logs->userLines(), IsEmpty());
}

TEST_F(DiagnosticsReportTest, a_file_that_cannot_be_written_is_a_sentence) {
    EXPECT_EQ(write("report.zip"), "The report cannot be written to “report.zip”: the path is not absolute.");
}

TEST_F(DiagnosticsReportTest, a_file_is_written_while_a_mail_waits_for_its_user) {
    report().sendToSupport("HEADER", "BODY");
    ASSERT_TRUE(untilMails(1));
    EXPECT_EQ(write(world.folder.path() / "report.zip"), std::nullopt);
}

TEST_F(DiagnosticsReportTest, many_reports_to_one_file_come_one_after_the_other) {
    const fs::path archive = world.folder.path() / "report.zip";
    std::size_t done = 0;
    std::vector<std::string> errors;
    for (int nth = 0; nth < 8; ++nth)
        report().writeTo(archive, "HEADER " + std::to_string(nth), [&](std::optional<std::string> error) {
            ++done;
            if (error) errors.push_back(*error);
            EXPECT_LE(world.background.pending(), 1U);
        });
    ASSERT_TRUE(world.until([&] { return done == 8; }));
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_THAT(zipContents(archive), ElementsAre(Pair("diagnostics.log", "HEADER 7\n")));
}

}  // namespace
}  // namespace quillbay
