// Receives a whole batch with one recvmmsg(2) and sends it with one sendmmsg(2). Neighbours that go to the
// same place and are of one size leave as one message that the kernel cuts up again (UDP_SEGMENT, udp(7)), as
// late on its way as it can: a burst then pays for its way through the kernel once.
#include "platform/Datagrams.h"

#include <netinet/udp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/posix/PlainDatagrams.h"

namespace quillbay {

namespace {

// What one message may have before it is cut up: the kernel takes 64 pieces, and the bytes of one datagram.
constexpr std::size_t largestMessageBytes = 65'507;
static_assert(mostDatagramsAtOnce <= 64);

bool haveOnePeer(const Datagram& one, const Datagram& other) {
    return one.peer.sin_addr.s_addr == other.peer.sin_addr.s_addr && one.peer.sin_port == other.peer.sin_port;
}

/// How many of the first ones the kernel can cut out of one message: those of the first one's size, and one
/// shorter one behind them.
std::size_t mergeable(Directed directed, std::span<const Datagram> datagrams) {
    const Datagram& first = datagrams.front();
    std::size_t count = 1;
    std::size_t bytes = first.size;
    while (count < datagrams.size()) {
        const Datagram& next = datagrams[count];
        bytes += next.size;
        if (next.size > first.size || bytes > largestMessageBytes) break;
        if (directed == Directed::no && !haveOnePeer(first, next)) break;
        ++count;
        if (next.size < first.size) break;
    }
    return count;
}

/// The messages for sendmmsg, which point into each other.
class Messages {
 public:
    Messages(Directed directed, std::span<const Datagram> datagrams) {
        for (std::size_t done = 0; done < datagrams.size(); done += merged_[count_++]) {
            merged_[count_] = mergeable(directed, datagrams.subspan(done));
            add(directed, datagrams.subspan(done, merged_[count_]), &pieces_[done]);
        }
    }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    [[nodiscard]] std::size_t count() const { return count_; }
    /// How many datagrams are in a message.
    [[nodiscard]] std::size_t merged(std::size_t message) const { return merged_[message]; }
    /// Sends them from the given one on. Returns how many messages the system took, or -1.
    int send(int socket, std::size_t from) {
        return ::sendmmsg(socket, &messages_[from], static_cast<unsigned>(count_ - from),
                          MSG_NOSIGNAL | MSG_DONTWAIT);
    }

 private:
    void add(Directed directed, std::span<const Datagram> datagrams, iovec* pieces) {
        for (std::size_t i = 0; i < datagrams.size(); ++i)
            pieces[i] = {datagrams[i].bytes, datagrams[i].size};
        msghdr& head = messages_[count_].msg_hdr;
        head = {};
        head.msg_iov = pieces;
        head.msg_iovlen = datagrams.size();
        if (directed == Directed::no) {
            head.msg_name = const_cast<sockaddr_in*>(&datagrams.front().peer);
            head.msg_namelen = sizeof datagrams.front().peer;
        }
        if (datagrams.size() > 1) cut(head, static_cast<std::uint16_t>(datagrams.front().size));
    }

    void cut(msghdr& head, std::uint16_t size) {
        head.msg_control = controls_[count_].bytes;
        head.msg_controllen = sizeof controls_[count_].bytes;
        cmsghdr* const control = CMSG_FIRSTHDR(&head);
        control->cmsg_level = SOL_UDP;
        control->cmsg_type = UDP_SEGMENT;
        control->cmsg_len = CMSG_LEN(sizeof size);
        std::memcpy(CMSG_DATA(control), &size, sizeof size);
    }

    struct Control {
        alignas(cmsghdr) char bytes[CMSG_SPACE(sizeof(std::uint16_t))];
    };
    std::array<mmsghdr, mostDatagramsAtOnce> messages_;
    std::array<iovec, mostDatagramsAtOnce> pieces_;
    std::array<Control, mostDatagramsAtOnce> controls_;
    std::array<std::size_t, mostDatagramsAtOnce> merged_;
    std::size_t count_ = 0;
};

/// Whether a message was refused only because it was to be cut up: the system or the way there cannot do it,
/// or the datagrams are larger than the way takes in one piece.
bool cannotBeCut(int error) {
    return error == EINVAL || error == EIO || error == EMSGSIZE || error == EOPNOTSUPP;
}

}  // namespace

DatagramCount receiveDatagrams(int socket, Directed directed, std::span<Datagram> places) {
    std::array<mmsghdr, mostDatagramsAtOnce> messages;
    std::array<iovec, mostDatagramsAtOnce> rooms;
    const std::size_t most = std::min(places.size(), mostDatagramsAtOnce);
    for (std::size_t i = 0; i < most; ++i) {
        rooms[i] = {places[i].bytes, datagramRoomBytes};
        msghdr& head = messages[i].msg_hdr;
        head = {};
        head.msg_iov = &rooms[i];
        head.msg_iovlen = 1;
        if (directed == Directed::yes) continue;
        head.msg_name = &places[i].peer;
        head.msg_namelen = sizeof places[i].peer;
    }
    int count = 0;
    do {
        count = ::recvmmsg(socket, messages.data(), static_cast<unsigned>(most), MSG_DONTWAIT, nullptr);
    } while (count < 0 && errno == EINTR);
    if (count < 0) return {0, errno};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        places[i].size = messages[i].msg_len;
    return {static_cast<std::size_t>(count), 0};
}

DatagramCount sendDatagrams(int socket, Directed directed, std::span<const Datagram> datagrams) {
    if (datagrams.size() == 1) return plain::sendDatagrams(socket, directed, datagrams);
    Messages messages(directed, datagrams);
    std::size_t message = 0;
    std::size_t done = 0;
    while (message < messages.count()) {
        const int taken = messages.send(socket, message);
        for (int i = 0; i < taken; ++i)
            done += messages.merged(message++);
        if (taken > 0 || (taken < 0 && errno == EINTR)) continue;
        const std::size_t merged = messages.merged(message);
        if (merged == 1 || !cannotBeCut(errno)) return {done, errno};
        const auto sent = plain::sendDatagrams(socket, directed, datagrams.subspan(done, merged));
        done += sent.count;
        if (sent.error != 0) return {done, sent.error};
        ++message;
    }
    return {done, 0};
}

}  // namespace quillbay
