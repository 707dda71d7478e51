#include "fakes/TestDesktop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "platform/UniqueDescriptor.h"

namespace quillbay::fakes {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* email = "org.freedesktop.portal.Email";
constexpr const char* openURI = "org.freedesktop.portal.OpenURI";
constexpr const char* fileManager = "org.freedesktop.FileManager1";

int checked(int result) {
    if (result < 0) throw std::runtime_error("the test's desktop: " + std::string(::strerror(-result)));
    return result;
}

std::string readText(sd_bus_message* message, char type = SD_BUS_TYPE_STRING) {
    const char* text = nullptr;
    return checked(sd_bus_message_read_basic(message, type, static_cast<void*>(&text))) > 0 ? text : "";
}

std::vector<std::string> readTexts(sd_bus_message* message) {
    std::vector<std::string> texts;
    checked(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s"));
    while (sd_bus_message_at_end(message, 0) == 0)
        texts.push_back(readText(message));
    checked(sd_bus_message_exit_container(message));
    return texts;
}

/// The message keeps the descriptor.
int readDescriptor(sd_bus_message* message) {
    int descriptor = -1;
    checked(sd_bus_message_read_basic(message, SD_BUS_TYPE_UNIX_FD, static_cast<void*>(&descriptor)));
    return descriptor;
}

std::string contentOf(int descriptor) {
    std::string content;
    std::array<char, 4096> buffer{};
    for (off_t offset = 0;;) {
        const ssize_t count = ::pread(descriptor, buffer.data(), buffer.size(), offset);
        if (count <= 0) return content;
        content.append(buffer.data(), static_cast<std::size_t>(count));
        offset += count;
    }
}

void readAttachments(sd_bus_message* message, TestDesktop::Mail& mail) {
    checked(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "h"));
    while (sd_bus_message_at_end(message, 0) == 0) {
        const int descriptor = readDescriptor(message);
        struct stat status{};
        if (::fstat(descriptor, &status) == 0) mail.attachmentMode = status.st_mode & 07777U;
        mail.attachment = contentOf(descriptor);
    }
    checked(sd_bus_message_exit_container(message));
}

/// Reads the options of a request; of a mail's, what it says.
std::string readOptions(sd_bus_message* message, TestDesktop::Mail& mail) {
    std::string token;
    checked(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}"));
    while (checked(sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) > 0) {
        const std::string key = readText(message);
        const char* contents = nullptr;
        char type = 0;
        checked(sd_bus_message_peek_type(message, &type, &contents));
        checked(sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents));
        if (key == "handle_token")
            token = readText(message);
        else if (key == "addresses")
            mail.addresses = readTexts(message);
        else if (key == "address")
            mail.address = readText(message);
        else if (key == "subject")
            mail.subject = readText(message);
        else if (key == "body")
            mail.body = readText(message);
        else if (key == "attachment_fds")
            readAttachments(message, mail);
        checked(sd_bus_message_exit_container(message));
        checked(sd_bus_message_exit_container(message));
    }
    checked(sd_bus_message_exit_container(message));
    return token;
}

}  // namespace

class TestDesktop::Connection {
 public:
    Connection(const std::string& address, Services services)
        : services_(services), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        checked(sd_bus_new(&bus_));
        checked(sd_bus_set_address(bus_, address.c_str()));
        checked(sd_bus_set_bus_client(bus_, 1));
        checked(sd_bus_start(bus_));
        checked(sd_bus_add_object(bus_, nullptr, portalPath, &Connection::answerPortal, this));
        checked(sd_bus_add_object(bus_, nullptr, "/org/freedesktop/FileManager1",
                                  &Connection::answerFileManager, this));
        if (services_.emailVersion != 0 || services_.openVersion != 0)
            checked(sd_bus_request_name(bus_, portalName, 0));
        if (services_.fileManager) checked(sd_bus_request_name(bus_, fileManager, 0));
        thread_ = std::thread([this] { run(); });
    }
    ~Connection() {
        ::eventfd_write(wake_.get(), 1);
        thread_.join();
        sd_bus_flush_close_unref(bus_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] Record record() const {
        const std::lock_guard lock(mutex_);
        return record_;
    }

 private:
    void run() {
        while (true) {
            if (sd_bus_process(bus_, nullptr) > 0) continue;
            std::array<pollfd, 2> waits{
                {{sd_bus_get_fd(bus_), static_cast<short>(sd_bus_get_events(bus_)), 0},
                 {wake_.get(), POLLIN, 0}}};
            ::poll(waits.data(), waits.size(), -1);
            if (waits[1].revents != 0) return;
        }
    }

    static int answerPortal(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        auto& desktop = *static_cast<Connection*>(self);
        if (desktop.services_.manner == Manner::isSilent) return 1;
        if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "Get") > 0)
            return desktop.tellVersion(message);
        if (sd_bus_message_is_method_call(message, email, "ComposeEmail") > 0)
            return desktop.composeEmail(message);
        if (sd_bus_message_is_method_call(message, openURI, "OpenURI") > 0) return desktop.open(message);
        if (sd_bus_message_is_method_call(message, openURI, "OpenDirectory") > 0)
            return desktop.openDirectory(message);
        return 0;
    }

    static int answerFileManager(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        auto& desktop = *static_cast<Connection*>(self);
        if (sd_bus_message_is_method_call(message, fileManager, "ShowItems") <= 0) return 0;
        {
            const std::lock_guard lock(desktop.mutex_);
            desktop.record_.shownItems = readTexts(message);
        }
        return sd_bus_reply_method_return(message, "");
    }

    int tellVersion(sd_bus_message* message) const {
        const std::string interface = readText(message);
        std::uint32_t version = 0;
        if (interface == email) version = services_.emailVersion;
        if (interface == openURI) version = services_.openVersion;
        if (version == 0)
            return sd_bus_reply_method_errorf(message, "org.freedesktop.DBus.Error.InvalidArgs",
                                              "No such interface");
        return sd_bus_reply_method_return(message, "v", "u", version);
    }

    int composeEmail(sd_bus_message* message) {
        Mail mail;
        readText(message);  // the parent window
        const std::string token = readOptions(message, mail);
        const bool attached = mail.attachment.has_value();
        {
            const std::lock_guard lock(mutex_);
            record_.mails.push_back(mail);
        }
        if (attached && services_.manner == Manner::failsWithAttachments)
            return sd_bus_reply_method_errorf(message, "org.freedesktop.portal.Error.InvalidArgument",
                                              "Attachments are not accepted");
        return respond(message, token, attached);
    }

    int open(sd_bus_message* message) {
        Mail unused;
        readText(message);
        const std::string uri = readText(message);
        const std::string token = readOptions(message, unused);
        {
            const std::lock_guard lock(mutex_);
            record_.openedURIs.push_back(uri);
        }
        return respond(message, token, false);
    }

    int openDirectory(sd_bus_message* message) {
        Mail unused;
        readText(message);
        const int descriptor = readDescriptor(message);
        const std::string file = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
        const std::string token = readOptions(message, unused);
        {
            const std::lock_guard lock(mutex_);
            record_.openedFolders.push_back(file);
        }
        return respond(message, token, false);
    }

    /// The answer with the request's path, and the response that follows, or comes first.
    int respond(sd_bus_message* message, const std::string& token, bool attached) {
        std::string sender = sd_bus_message_get_sender(message) + 1;
        std::replace(sender.begin(), sender.end(), '.', '_');
        const std::string handle = std::string(portalPath) + "/request/" + sender + "/" + token;
        if (services_.manner == Manner::respondsFirst) sendResponse(handle, 0);
        const int answered = sd_bus_reply_method_return(message, "o", handle.c_str());
        switch (services_.manner) {
            case Manner::takes:
            case Manner::failsWithAttachments:
                sendResponse(handle, 0);
                break;
            case Manner::isCancelled:
                sendResponse(handle, 1);
                break;
            case Manner::refuses:
                sendResponse(handle, 2);
                break;
            case Manner::refusesAttachments:
                sendResponse(handle, attached ? 2 : 0);
                break;
            case Manner::isSilent:
            case Manner::neverResponds:
            case Manner::respondsFirst:
                break;
        }
        return answered;
    }

    void sendResponse(const std::string& handle, std::uint32_t code) {
        sd_bus_emit_signal(bus_, handle.c_str(), "org.freedesktop.portal.Request", "Response", "ua{sv}", code,
                           0);
    }

    Services services_;
    UniqueDescriptor wake_;
    sd_bus* bus_ = nullptr;
    mutable std::mutex mutex_;
    Record record_;
    std::thread thread_;
};

TestDesktop::TestDesktop(const std::string& busAddress, Services services)
    : connection_(std::make_unique<Connection>(busAddress, services)) {}

TestDesktop::~TestDesktop() = default;

TestDesktop::Record TestDesktop::record() const {
    return connection_->record();
}

}  // namespace quillbay::fakes
