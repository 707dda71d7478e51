#include "control/ControlServer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <utility>

#include "control/ControlAnswer.h"
#include "control/ControlCommands.h"
#include "control/ControlListener.h"
#include "platform/LocalSockets.h"
#include "platform/PrintedError.h"
#include "platform/RuntimeFolder.h"

namespace quillbay {

namespace {

using Connection = std::shared_ptr<ControlConnection>;

/// A socket that is there is one that a killed program has left; anything else is not ours to remove.
void removeStaleSocket(const std::filesystem::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return;
    if (!S_ISSOCK(status.st_mode))
        throw std::runtime_error("What is at " + path.native() + " is no socket, and in the way of one.");
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) throw systemError(errno);
}

}  // namespace

/// The clients whose requests are being answered. Lives on the main queue; what comes late from the network
/// threads finds it gone.
struct ControlServer::Clients : std::enable_shared_from_this<Clients> {
    Clients(const Host& host, AppCoordinator& coordinator, ActivationHandler activate)
        : mainQueue(host.mainQueue), commands(host, coordinator, std::move(activate)) {}

    /// What the connections report, carried over to the main queue.
    [[nodiscard]] ControlConnection::Events events() {
        const auto onMain = [weak = weak_from_this(), &queue = mainQueue](auto step) {
            queue.post([weak, step = std::move(step)] {
                if (const auto clients = weak.lock()) step(*clients);
            });
        };
        return {.onRequest =
                    [onMain](const Connection& connection, ControlRequest request) {
                        onMain([connection, request = std::move(request)](Clients& clients) {
                            clients.answer(connection, request);
                        });
                    },
                .onInputEnded =
                    [onMain](const Connection& connection) {
                        onMain([connection](Clients& clients) { clients.inputEnded(connection); });
                    },
                .onClosed =
                    [onMain](const Connection& connection) {
                        onMain([connection](Clients& clients) { clients.forget(connection); });
                    }};
    }

    void answer(const Connection& connection, const ControlRequest& request) {
        const auto made = std::make_shared<ControlAnswer>(
            [this, connection](std::string documents, ControlAnswer::Part part) {
                const bool isLast = part == ControlAnswer::Part::last;
                connection->send(std::move(documents),
                                 isLast ? ControlConnection::Part::last : ControlConnection::Part::more);
                if (isLast) answers.erase(connection);
            });
        answers[connection] = made;
        commands.run(request, made);
    }

    /// Who closes his side after asking may still want the answer, but not one that has no end of its own.
    void inputEnded(const Connection& connection) {
        const auto found = answers.find(connection);
        if (found == answers.end() || !found->second->isLasting()) return;
        forget(connection);
        connection->shut();
    }

    void forget(const Connection& connection) {
        const auto found = answers.find(connection);
        if (found == answers.end()) return;
        const auto made = std::move(found->second);
        answers.erase(found);
        made->abandon();
    }

    void abandonAll() {
        for (const auto& [connection, made] : std::exchange(answers, {}))
            made->abandon();
    }

    MainQueue& mainQueue;
    ControlCommands commands;
    std::map<Connection, std::shared_ptr<ControlAnswer>> answers;
};

ControlServer::ControlServer(const Host& host, AppCoordinator& coordinator, ActivationHandler activate)
    : path_(prepareRuntimeFolder(host.files.runtime) / controlSocketPath(host.files.runtime).filename()),
      clients_(std::make_shared<Clients>(host, coordinator, std::move(activate))) {
    removeStaleSocket(path_);
    UniqueDescriptor listening = listenLocal(path_);
    struct stat status{};
    if (::lstat(path_.c_str(), &status) == 0) {
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
    // Which of the loops is of no importance, as long as it is always the same.
    constexpr std::uint16_t anyPort = 0;
    listener_ = std::make_shared<ControlListener>(host.network.contextFor(anyPort), std::move(listening),
                                                  clients_->events());
    listener_->start();
}

ControlServer::~ControlServer() {
    // First the name, so that nobody is connected to what is about to end; and only ours.
    struct stat status{};
    if (::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_)
        ::unlink(path_.c_str());
    listener_->stop();
    clients_->abandonAll();
}

}  // namespace quillbay
