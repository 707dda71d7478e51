#include "relay/BareForwarder.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "platform/Sockets.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::bench {

namespace {

using SharedDescriptor = std::shared_ptr<const UniqueDescriptor>;

constexpr std::size_t pipeBytes = std::size_t{256} * 1024;

void copyBare(const SharedDescriptor& from, const SharedDescriptor& to) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    const UniqueDescriptor out(ends[0]);
    const UniqueDescriptor in(ends[1]);
    ::fcntl(in.get(), F_SETPIPE_SZ, static_cast<int>(pipeBytes));
    for (;;) {
        ssize_t left = ::splice(from->get(), nullptr, in.get(), nullptr, pipeBytes, SPLICE_F_MOVE);
        if (left <= 0) break;
        while (left > 0) {
            const ssize_t sent = ::splice(out.get(), nullptr, to->get(), nullptr,
                                          static_cast<std::size_t>(left), SPLICE_F_MOVE);
            if (sent <= 0) return;
            left -= sent;
        }
    }
    ::shutdown(to->get(), SHUT_WR);
}

SharedDescriptor connectBare(std::uint16_t target) {
    auto phone = std::make_shared<const UniqueDescriptor>(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = ipv4Endpoint("127.0.0.1", target);
    if (::connect(phone->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return nullptr;
    return phone;
}

}  // namespace

void forwardBare(std::uint16_t target, const std::function<void(std::uint16_t port)>& ready) {
    const UniqueDescriptor listener = listenTCP("127.0.0.1", 0);
    ::fcntl(listener.get(), F_SETFL, 0);
    std::thread([&listener, target] {
        for (;;) {
            const auto client = std::make_shared<const UniqueDescriptor>(
                ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!client->valid()) return;
            const SharedDescriptor phone = connectBare(target);
            if (!phone) continue;
            std::thread(copyBare, client, phone).detach();
            std::thread(copyBare, phone, client).detach();
        }
    }).detach();
    ready(boundPort(listener.get()));
    ::_exit(0);
}

}  // namespace quillbay::bench
