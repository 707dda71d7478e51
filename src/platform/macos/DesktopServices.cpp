#include "platform/DesktopServices.h"

#include <chrono>
#include <utility>

#include "platform/macos/MailService.h"
#include "platform/posix/DesktopAnswers.h"
#include "platform/posix/HelperProgram.h"

namespace quillbay {

namespace {

/// Reaches the desktop through `open`, which ends as soon as it has passed the request on, and the mail
/// composer, for which there is no tool, through its framework.
class OpenTool final : public DesktopServices {
 public:
    OpenTool(MainQueue& mainQueue, BackgroundWork& background, HostTools::Tool tool)
        : mainQueue_(mainQueue), background_(background), tool_(std::move(tool)) {}

    void composeMail(MailDraft draft, std::function<void(MailAnswer)> done) override {
        composeInMailService(draft, [&queue = mainQueue_, done = std::move(done)](MailAnswer answer) {
            queue.post([done, answer] { done(answer); });
        });
    }

    void revealFile(std::filesystem::path file, Done done) override {
        run({"-R", file.string()}, std::move(done));
    }

    void openURL(std::string url, Done done) override { run({std::move(url)}, std::move(done)); }

 private:
    void run(std::vector<std::string> arguments, Done done) {
        const auto ask = [tool = tool_, arguments = std::move(arguments)](const StopToken& token) {
            constexpr std::chrono::seconds patience{10};
            return runHelper(tool, arguments, patience, token) == HelperOutcome::done;
        };
        answerInBackground<bool>(mainQueue_, background_, ask, done, false);
    }

    MainQueue& mainQueue_;
    BackgroundWork& background_;
    HostTools::Tool tool_;
};

}  // namespace

std::unique_ptr<DesktopServices> DesktopServices::system(MainQueue& mainQueue, BackgroundWork& background,
                                                         const HostTools& tools) {
    return std::make_unique<OpenTool>(mainQueue, background, tools.opener);
}

}  // namespace quillbay
