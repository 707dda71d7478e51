#include "platform/posix/InterfaceChangeSocket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/PrintedError.h"

namespace quillbay {

UniqueDescriptor openInterfaceChangeSocket() {
    UniqueDescriptor channel(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    if (!channel.valid()) throw systemError(errno);
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE;
    if (::bind(channel.get(), reinterpret_cast<const sockaddr*>(&groups), sizeof groups) != 0) {
        throw systemError(errno);
    }
    return channel;
}

}  // namespace quillbay
