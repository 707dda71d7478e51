#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>

#include "control/ControlCommands.h"
#include "core/AppCoordinator.h"
#include "platform/Host.h"

namespace quillbay {

class ControlListener;

/// Lets programs of the same user do at a socket what a person does in the windows: `quillbayctl` from a
/// terminal, and scripts. docs/control.md describes the protocol.
///
/// Made, used and destroyed on the main queue, where all requests are carried out; the clients are served on
/// a network thread, so none of them can hold up the others or the queue.
class ControlServer {
 public:
    /// Listens at the socket below `host.files.runtime`, in the place of one that an earlier run has left.
    /// The caller holds the InstanceLock of that folder. Throws std::runtime_error, with a sentence, and
    /// std::system_error.
    ///
    /// `activate` is empty in a program without windows. `host`, `coordinator` and what `activate` uses must
    /// outlive the server, and the network threads must still run when it goes.
    ControlServer(const Host& host, AppCoordinator& coordinator, ActivationHandler activate = {});

    /// Disconnects all clients, ends what only served them and removes the socket.
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    [[nodiscard]] const std::filesystem::path& socketPath() const { return path_; }

 private:
    struct Clients;

    std::filesystem::path path_;
    /// What the socket's name referred to when it was made.
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::shared_ptr<Clients> clients_;
    std::shared_ptr<ControlListener> listener_;
};

}  // namespace quillbay
