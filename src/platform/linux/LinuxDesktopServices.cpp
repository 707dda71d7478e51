#include "platform/linux/LinuxDesktopServices.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>
#include <vector>

#include "platform/Utf8.h"
#include "platform/linux/DesktopPortal.h"
#include "platform/linux/SessionBus.h"
#include "platform/posix/DesktopAnswers.h"
#include "platform/posix/HelperProgram.h"

namespace quillbay {

namespace {

using Surroundings = LinuxDesktopServices::Surroundings;

/// Neither a message on the bus nor an argument of a tool can hold a zero byte or what is no UTF-8.
std::string sendableText(std::string_view text) {
    std::string sendable;
    for (const char character : wellFormedUtf8(text))
        if (character == '\0')
            sendable += "\uFFFD";
        else
            sendable += character;
    return sendable;
}

/// Asks the portal with `ask`; absent where there is no session bus.
template <typename Ask>
PortalAnswer askPortal(const Surroundings& surroundings, const StopToken& token, Ask ask) {
    try {
        SessionBus bus(surroundings.busAddress, token);
        DesktopPortal portal(bus, {surroundings.call, surroundings.response});
        return ask(portal);
    } catch (const BusError&) {
        return PortalAnswer::absent;
    }
}

MailAnswer composeWithTool(const MailDraft& draft, const Surroundings& surroundings, const StopToken& token) {
    std::vector<std::string> arguments{"--utf8", "--subject", draft.subject, "--body", draft.body};
    if (draft.attachment) arguments.insert(arguments.end(), {"--attach", draft.attachment->string()});
    arguments.push_back(draft.recipient);
    switch (runHelper(surroundings.mailComposer, arguments, surroundings.tool, token)) {
        case HelperOutcome::done:
            return MailAnswer::opened;
        case HelperOutcome::failed:
            return MailAnswer::refused;
        case HelperOutcome::missing:
            break;
    }
    return MailAnswer::unavailable;
}

MailAnswer compose(const MailDraft& draft, const Surroundings& surroundings, const StopToken& token) {
    const PortalAnswer answer =
        askPortal(surroundings, token, [&draft](DesktopPortal& portal) { return portal.composeMail(draft); });
    if (answer == PortalAnswer::done) return MailAnswer::opened;
    if (answer == PortalAnswer::refused) return MailAnswer::refused;
    return token.stopRequested() ? MailAnswer::unavailable : composeWithTool(draft, surroundings, token);
}

bool openWithTool(const std::string& target, const Surroundings& surroundings, const StopToken& token) {
    return !token.stopRequested() &&
           runHelper(surroundings.opener, {target}, surroundings.tool, token) == HelperOutcome::done;
}

/// The file manager's own interface (Desktop Bus file manager interface): `ShowItems(as uris, s startupID)`.
bool showInFileManager(const std::filesystem::path& file, const Surroundings& surroundings,
                       const StopToken& token) {
    static constexpr const char* name = "org.freedesktop.FileManager1";
    try {
        SessionBus bus(surroundings.busAddress, token);
        const BusMessage message = bus.newCall(name, "/org/freedesktop/FileManager1", name, "ShowItems");
        sd_bus_message* items = message.get();
        checkedBusResult(sd_bus_message_open_container(items, SD_BUS_TYPE_ARRAY, "s"));
        checkedBusResult(sd_bus_message_append_basic(items, SD_BUS_TYPE_STRING, fileURI(file).c_str()));
        checkedBusResult(sd_bus_message_close_container(items));
        checkedBusResult(sd_bus_message_append_basic(items, SD_BUS_TYPE_STRING, ""));
        bus.call(message, surroundings.call);
        return true;
    } catch (const BusError&) {
        return false;
    }
}

bool reveal(const std::filesystem::path& file, const Surroundings& surroundings, const StopToken& token) {
    if (showInFileManager(file, surroundings, token)) return true;
    const PortalAnswer answer =
        askPortal(surroundings, token, [&file](DesktopPortal& portal) { return portal.openFolderOf(file); });
    return answer == PortalAnswer::done || openWithTool(file.parent_path().string(), surroundings, token);
}

bool open(const std::string& url, const Surroundings& surroundings, const StopToken& token) {
    const PortalAnswer answer =
        askPortal(surroundings, token, [&url](DesktopPortal& portal) { return portal.openURI(url); });
    return answer == PortalAnswer::done || openWithTool(url, surroundings, token);
}

}  // namespace

LinuxDesktopServices::LinuxDesktopServices(MainQueue& mainQueue, BackgroundWork& background,
                                           Surroundings surroundings)
    : mainQueue_(mainQueue), background_(background), surroundings_(std::move(surroundings)) {}

void LinuxDesktopServices::composeMail(MailDraft draft, std::function<void(MailAnswer)> done) {
    draft.subject = sendableText(draft.subject);
    draft.body = sendableText(draft.body);
    const auto ask = [surroundings = surroundings_, draft = std::move(draft)](const StopToken& token) {
        return compose(draft, surroundings, token);
    };
    answerInBackground<MailAnswer>(mainQueue_, background_, ask, done, MailAnswer::unavailable);
}

void LinuxDesktopServices::revealFile(std::filesystem::path file, Done done) {
    const auto ask = [surroundings = surroundings_, file = std::move(file)](const StopToken& token) {
        return reveal(file, surroundings, token);
    };
    answerInBackground<bool>(mainQueue_, background_, ask, done, false);
}

void LinuxDesktopServices::openURL(std::string url, Done done) {
    const auto ask = [surroundings = surroundings_, url = std::move(url)](const StopToken& token) {
        return open(url, surroundings, token);
    };
    answerInBackground<bool>(mainQueue_, background_, ask, done, false);
}

std::unique_ptr<DesktopServices> DesktopServices::system(MainQueue& mainQueue, BackgroundWork& background,
                                                         const HostTools& tools) {
    Surroundings surroundings;
    surroundings.opener = tools.opener;
    surroundings.mailComposer = tools.mailComposer;
    return std::make_unique<LinuxDesktopServices>(mainQueue, background, std::move(surroundings));
}

std::string fileURI(const std::filesystem::path& file) {
    constexpr std::string_view asTheyAre =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string uri = "file://";
    for (const char character : file.string())
        if (asTheyAre.find(character) != std::string_view::npos)
            uri += character;
        else
            uri += fmt::format("%{:02X}", static_cast<unsigned char>(character));
    return uri;
}

}  // namespace quillbay
