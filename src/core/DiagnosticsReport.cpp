#include "core/DiagnosticsReport.h"

#include <algorithm>
#include <utility>

#include "core/DiagnosticsTexts.h"
#include "core/SupportAddress.h"
#include "platform/PrintedError.h"

namespace quillbay {

namespace {

constexpr const char* subject = "Quillbay Diagnostics";

}  // namespace

struct DiagnosticsReport::Sending {
    std::string header;
    std::string emailBody;
    std::filesystem::path folder;
    std::filesystem::path archive;
    Task finished;
};

std::shared_ptr<DiagnosticsReport> DiagnosticsReport::make(const Host& host, AppLogStore& logs,
                                                           std::chrono::milliseconds limitOfZip) {
    return std::shared_ptr<DiagnosticsReport>(new DiagnosticsReport(host, logs, limitOfZip));
}

DiagnosticsReport::DiagnosticsReport(const Host& host, AppLogStore& logs,
                                     std::chrono::milliseconds limitOfZip)
    : host_(host), logs_(logs), archive_(host.tools.zip, limitOfZip) {
    DiagnosticsArchive::removeLeftOver(host.files.temporary);
}

void DiagnosticsReport::enqueue(Line DiagnosticsReport::* line, std::function<void(Task)> report) {
    (this->*line).waiting.push_back(std::move(report));
    begin(line);
}

void DiagnosticsReport::begin(Line DiagnosticsReport::* line) {
    Line& reports = this->*line;
    if (reports.busy || reports.waiting.empty()) return;
    reports.busy = true;
    const std::function<void(Task)> report = std::move(reports.waiting.front());
    reports.waiting.pop_front();
    report([weak = weak_from_this(), line] {
        const auto self = weak.lock();
        if (!self) return;
        ((*self).*line).busy = false;
        self->begin(line);
    });
}

void DiagnosticsReport::inBackground(const std::function<void(const StopToken&)>& work,
                                     const std::function<void(std::optional<std::string>)>& done) {
    const auto piece = [&mainQueue = host_.mainQueue, work, done](const StopToken& token) {
        std::optional<std::string> failure;
        try {
            work(token);
        } catch (const std::exception& error) {
            failure = printedError(error);
        }
        mainQueue.post([done, failure] { done(failure); });
    };
    try {
        host_.background.run(piece);
    } catch (const std::exception& error) {
        host_.mainQueue.post([done, failure = printedError(error)] { done(failure); });
    }
}

std::string DiagnosticsReport::textWith(const std::string& header) const {
    std::string text = header;
    char separator = '\n';
    for (const std::string& line : logs_.diagnosticLines())
        text.append(1, separator).append(line);
    if (logs_.diagnosticLines().empty()) text += separator;
    return text;
}

void DiagnosticsReport::writeTo(std::filesystem::path archive, std::string header,
                                std::function<void(std::optional<std::string>)> done) {
    enqueue(&DiagnosticsReport::writing_, [this, archive = std::move(archive), header = std::move(header),
                                           done = std::move(done)](const Task& finished) {
        const auto work = [maker = archive_, temporary = host_.files.temporary, archive,
                           text = textWith(header)](const StopToken& token) {
            maker.makeAnywhere(temporary, archive, text, token);
        };
        inBackground(work, [weak = weak_from_this(), done, finished](std::optional<std::string> error) {
            if (!weak.lock()) return;
            done(std::move(error));
            finished();
        });
    });
}

void DiagnosticsReport::sendToSupport(std::string header, std::string emailBody) {
    std::string stamp = timestampForHeader(host_.clock.now());
    std::replace(stamp.begin(), stamp.end(), ':', '-');
    std::replace(stamp.begin(), stamp.end(), ' ', '_');
    const std::string name = "quillbay-diagnostics-" + stamp;
    const auto sending = std::make_shared<Sending>(Sending{std::move(header),
                                                           std::move(emailBody),
                                                           host_.files.temporary / name,
                                                           host_.files.temporary / (name + ".zip"),
                                                           {}});
    enqueue(&DiagnosticsReport::sending_, [this, sending](Task finished) {
        sending->finished = std::move(finished);
        prepare(sending);
    });
}

void DiagnosticsReport::prepare(const std::shared_ptr<Sending>& sending) {
    const auto work = [maker = archive_, folder = sending->folder, archive = sending->archive,
                       text = textWith(sending->header)](const StopToken& token) {
        maker.make(folder, archive, text, token);
    };
    inBackground(work, [weak = weak_from_this(), sending](const std::optional<std::string>& error) {
        const auto self = weak.lock();
        if (!self) return;
        if (!error) {
            self->compose(sending);
            return;
        }
        self->logs_.user("Couldn't prepare the diagnostics zip: " + *error);
        sending->finished();
    });
}

void DiagnosticsReport::compose(const std::shared_ptr<Sending>& sending) {
    if (host_.desktop == nullptr) {
        reveal(sending, &DiagnosticsReport::openAddress);
        return;
    }
    host_.desktop->composeMail({supportAddress(), subject, sending->emailBody, sending->archive},
                               [weak = weak_from_this(), sending](MailAnswer answer) {
                                   const auto self = weak.lock();
                                   if (!self) return;
                                   switch (answer) {
                                       case MailAnswer::opened:
                                           sending->finished();
                                           break;
                                       case MailAnswer::refused:
                                           self->reveal(sending,
                                                        &DiagnosticsReport::composeWithoutAttachment);
                                           break;
                                       case MailAnswer::unavailable:
                                           self->reveal(sending, &DiagnosticsReport::openAddress);
                                           break;
                                   }
                               });
}

void DiagnosticsReport::composeWithoutAttachment(const std::shared_ptr<Sending>& sending) {
    const std::string body =
        sending->emailBody +
        "\n\n(Attachment could not be added automatically — zip is selected in Finder:\n" +
        sending->archive.string() + ")";
    host_.desktop->composeMail(
        {supportAddress(), subject, body}, [weak = weak_from_this(), sending](MailAnswer answer) {
            const auto self = weak.lock();
            if (!self) return;
            if (answer != MailAnswer::opened) {
                // One that refuses everything is none.
                self->openAddress(sending);
                return;
            }
            self->logs_.user("Couldn't attach the zip automatically — file revealed in Finder.");
            sending->finished();
        });
}

void DiagnosticsReport::openAddress(const std::shared_ptr<Sending>& sending) {
    const auto done = [weak = weak_from_this(), sending](bool opened) {
        const auto self = weak.lock();
        if (!self) return;
        if (!opened) self->logs_.diagnostic("The support address could not be opened.");
        self->logs_.user("Mail composer unavailable — zip revealed in Finder.");
        sending->finished();
    };
    if (host_.desktop == nullptr)
        done(false);
    else
        host_.desktop->openURL(std::string("mailto:") + supportAddress() + "?subject=Quillbay%20Diagnostics",
                               done);
}

void DiagnosticsReport::reveal(const std::shared_ptr<Sending>& sending, Step next) {
    const auto done = [weak = weak_from_this(), sending, next](bool shown) {
        const auto self = weak.lock();
        if (!self) return;
        // The sentence that follows says that it is shown: then the path is needed.
        if (!shown) self->logs_.diagnostic("No file browser could show " + sending->archive.string());
        ((*self).*next)(sending);
    };
    if (host_.desktop == nullptr)
        done(false);
    else
        host_.desktop->revealFile(sending->archive, done);
}

}  // namespace quillbay
