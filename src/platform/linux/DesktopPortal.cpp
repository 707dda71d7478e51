#include "platform/linux/DesktopPortal.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>

#include <algorithm>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* emailInterface = "org.freedesktop.portal.Email";
constexpr const char* openInterface = "org.freedesktop.portal.OpenURI";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";

constexpr std::uint32_t firstVersionWithAddresses = 3;
constexpr std::uint32_t firstVersionWithFolders = 3;

void appendText(const BusMessage& message, const std::string& text) {
    checkedBusResult(sd_bus_message_append_basic(message.get(), SD_BUS_TYPE_STRING, text.c_str()));
}

/// A container of the message, for as long as the object exists.
class Container {
 public:
    Container(const BusMessage& message, char type, const char* contents) : message_(message) {
        checkedBusResult(sd_bus_message_open_container(message.get(), type, contents));
    }
    // A container that cannot be closed leaves a message that cannot be sent, which is where it fails.
    ~Container() { sd_bus_message_close_container(message_.get()); }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

 private:
    const BusMessage& message_;
};

void appendTextOption(const BusMessage& message, const std::string& key, const std::string& value) {
    const Container entry(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
    appendText(message, key);
    const Container variant(message, SD_BUS_TYPE_VARIANT, "s");
    appendText(message, value);
}

void appendTextsOption(const BusMessage& message, const std::string& key, const std::string& value) {
    const Container entry(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
    appendText(message, key);
    const Container variant(message, SD_BUS_TYPE_VARIANT, "as");
    const Container list(message, SD_BUS_TYPE_ARRAY, "s");
    appendText(message, value);
}

void appendDescriptorsOption(const BusMessage& message, const std::string& key, int descriptor) {
    const Container entry(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
    appendText(message, key);
    const Container variant(message, SD_BUS_TYPE_VARIANT, "ah");
    const Container list(message, SD_BUS_TYPE_ARRAY, "h");
    // The library keeps a duplicate.
    checkedBusResult(sd_bus_message_append_basic(message.get(), SD_BUS_TYPE_UNIX_FD, &descriptor));
}

/// By this token the portal names the request. One connection makes each of its requests after the last one,
/// and its name, which is part of the request's, is its own.
void appendToken(const BusMessage& message) {
    appendTextOption(message, "handle_token", "quillbay");
}

PortalAnswer answerFor(const BusError& error) {
    return error.nobodyAnswered() ? PortalAnswer::absent : PortalAnswer::refused;
}

UniqueDescriptor openForReading(const std::filesystem::path& file) {
    return UniqueDescriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
}

}  // namespace

DesktopPortal::DesktopPortal(SessionBus& bus, Limits limits) : bus_(bus), limits_(limits) {}

std::optional<std::uint32_t> DesktopPortal::version(const char* interface) {
    const BusMessage question =
        bus_.newCall(portalName, portalPath, "org.freedesktop.DBus.Properties", "Get");
    appendText(question, interface);
    appendText(question, "version");
    try {
        const BusMessage answer = bus_.call(question, limits_.call);
        std::uint32_t version = 0;
        checkedBusResult(sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_VARIANT, "u"));
        checkedBusResult(
            sd_bus_message_read_basic(answer.get(), SD_BUS_TYPE_UINT32, static_cast<void*>(&version)));
        return version;
    } catch (const BusError&) {
        // A portal that cannot tell the version of an interface does not have it.
        return std::nullopt;
    }
}

BusMessage DesktopPortal::newRequest(const char* interface, const char* member) {
    BusMessage request = bus_.newCall(portalName, portalPath, interface, member);
    appendText(request, "");  // no window of ours that a dialogue could belong to
    return request;
}

void DesktopPortal::watchResponses() {
    if (watching_) return;
    // Before the call, because a response may come together with the call's own answer.
    std::string sender = bus_.uniqueName().substr(1);
    std::replace(sender.begin(), sender.end(), '.', '_');
    const BusMessage match =
        bus_.newCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch");
    appendText(match, std::string("type='signal',sender='") + portalName + "',interface='" +
                          requestInterface + "',member='Response',path_namespace='" + portalPath +
                          "/request/" + sender + "'");
    bus_.call(match, limits_.call);
    bus_.observe([this](sd_bus_message* message) { noteResponse(message); });
    watching_ = true;
}

void DesktopPortal::noteResponse(sd_bus_message* message) {
    if (sd_bus_message_is_signal(message, requestInterface, "Response") <= 0) return;
    const char* path = sd_bus_message_get_path(message);
    std::uint32_t code = 0;
    const int read = sd_bus_message_read_basic(message, SD_BUS_TYPE_UINT32, static_cast<void*>(&code));
    sd_bus_message_rewind(message, 1);
    constexpr std::size_t mostRequests = 16;  // far above the two that there can be
    if (path != nullptr && read > 0 && responses_.size() < mostRequests) responses_.emplace(path, code);
}

PortalAnswer DesktopPortal::finish(const BusMessage& request) {
    const BusMessage reply = bus_.call(request, limits_.call);
    const char* path = nullptr;
    checkedBusResult(
        sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_OBJECT_PATH, static_cast<void*>(&path)));
    const std::string handle = path == nullptr ? "" : path;
    try {
        // No response is no refusal: most likely the user has not answered a question yet.
        if (!bus_.processUntil([&] { return responses_.contains(handle); }, limits_.response))
            return PortalAnswer::done;
    } catch (const BusError&) {
        return PortalAnswer::done;  // the request had been taken before the connection was lost
    }
    constexpr std::uint32_t cancelled = 1;
    const std::uint32_t code = responses_.at(handle);
    responses_.erase(handle);
    return code <= cancelled ? PortalAnswer::done : PortalAnswer::refused;
}

PortalAnswer DesktopPortal::composeMail(const MailDraft& draft) {
    try {
        const std::optional<std::uint32_t> interfaceVersion = version(emailInterface);
        if (!interfaceVersion) return PortalAnswer::absent;
        UniqueDescriptor attachment;
        if (draft.attachment) {
            attachment = openForReading(*draft.attachment);
            if (!attachment.valid()) return PortalAnswer::refused;
        }
        watchResponses();
        const BusMessage request = newRequest(emailInterface, "ComposeEmail");
        {
            const Container options(request, SD_BUS_TYPE_ARRAY, "{sv}");
            appendToken(request);
            if (*interfaceVersion >= firstVersionWithAddresses)
                appendTextsOption(request, "addresses", draft.recipient);
            else
                appendTextOption(request, "address", draft.recipient);
            appendTextOption(request, "subject", draft.subject);
            appendTextOption(request, "body", draft.body);
            if (attachment.valid()) appendDescriptorsOption(request, "attachment_fds", attachment.get());
        }
        return finish(request);
    } catch (const BusError& error) {
        return answerFor(error);
    }
}

PortalAnswer DesktopPortal::openURI(const std::string& uri) {
    try {
        if (!version(openInterface)) return PortalAnswer::absent;
        watchResponses();
        const BusMessage request = newRequest(openInterface, "OpenURI");
        appendText(request, uri);
        {
            const Container options(request, SD_BUS_TYPE_ARRAY, "{sv}");
            appendToken(request);
        }
        return finish(request);
    } catch (const BusError& error) {
        return answerFor(error);
    }
}

PortalAnswer DesktopPortal::openFolderOf(const std::filesystem::path& file) {
    try {
        if (version(openInterface).value_or(0) < firstVersionWithFolders) return PortalAnswer::absent;
        const UniqueDescriptor opened = openForReading(file);
        if (!opened.valid()) return PortalAnswer::refused;
        watchResponses();
        const BusMessage request = newRequest(openInterface, "OpenDirectory");
        const int descriptor = opened.get();
        checkedBusResult(sd_bus_message_append_basic(request.get(), SD_BUS_TYPE_UNIX_FD, &descriptor));
        {
            const Container options(request, SD_BUS_TYPE_ARRAY, "{sv}");
            appendToken(request);
        }
        return finish(request);
    } catch (const BusError& error) {
        return answerFor(error);
    }
}

}  // namespace quillbay
