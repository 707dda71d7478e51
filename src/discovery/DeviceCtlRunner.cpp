#include "discovery/DeviceCtlRunner.h"

#include <atomic>
#include <string_view>
#include <utility>

#include "platform/ChildOutputReader.h"
#include "platform/LineBuffer.h"

namespace quillbay {

/// One run of the tool. The reader's handlers hold it weakly, so a run that was dropped calls nobody.
struct DeviceCtlRunner::Session {
    std::function<void(std::string)> onOutputLine;
    std::function<void()> onOutputEnd;
    LineBuffer lines;
    std::atomic<bool> stopped = false;
    std::unique_ptr<ChildOutputReader> reader;

    void handOn(std::string_view line) {
        if (!stopped && onOutputLine) onOutputLine(std::string(line));
    }

    void end() {
        if (!lines.unfinished().empty()) handOn(lines.unfinished());
        lines.clear();
        if (!stopped && onOutputEnd) onOutputEnd();
    }
};

DeviceCtlRunner::DeviceCtlRunner(HostTools tools, SerialQueue queue)
    : tools_(std::move(tools)), queue_(std::move(queue)) {}

DeviceCtlRunner::~DeviceCtlRunner() {
    stop();
}

void DeviceCtlRunner::start(const std::vector<std::string>& arguments) {
    stop();
    ChildCommand command;
    command.executable = tools_.xcrun.executable;
    command.arguments = tools_.xcrun.leadingArguments;
    command.arguments.emplace_back("devicectl");
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.standardOutput = ChildCommand::Output::pipe;
    child_ = ChildProcess::launch(command);

    session_ = std::make_shared<Session>();
    session_->onOutputLine = onOutputLine;
    session_->onOutputEnd = onOutputEnd;
    const std::weak_ptr<Session> weak = session_;
    session_->reader = std::make_unique<ChildOutputReader>(
        queue_, child_->takeStandardOutput(),
        [weak](const std::string& text) {
            const auto session = weak.lock();
            if (!session) return;
            session->lines.append(text, [&session](std::string_view line) { session->handOn(line); });
        },
        [weak] {
            if (const auto session = weak.lock()) session->end();
        });
}

void DeviceCtlRunner::stop() {
    if (!session_) return;
    session_->stopped = true;
    // There is no reader when the system refused to watch the pipe.
    if (session_->reader) session_->reader->stop();
    session_.reset();
    child_->terminate();
}

std::optional<ExitStatus> DeviceCtlRunner::waitForExit(const StopToken& token) const {
    return child_ ? child_->waitForExit(token) : std::nullopt;
}

}  // namespace quillbay
