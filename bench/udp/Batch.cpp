#include "udp/Batch.h"

namespace quillbay::bench {

Batch::Batch() : bytes_(capacity) {
    for (std::size_t i = 0; i < capacity; ++i) {
        pieces_[i] = {bytes_[i].data(), largest};
        messages_[i].msg_hdr.msg_iov = &pieces_[i];
        messages_[i].msg_hdr.msg_iovlen = 1;
    }
}

std::size_t Batch::receive(int socket, std::size_t limit) {
    for (std::size_t i = 0; i < limit; ++i) {
        pieces_[i].iov_len = largest;
        messages_[i].msg_hdr.msg_name = &peers_[i];
        messages_[i].msg_hdr.msg_namelen = sizeof peers_[i];
    }
    const int count =
        ::recvmmsg(socket, messages_.data(), static_cast<unsigned>(limit), MSG_DONTWAIT, nullptr);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::span<const char> Batch::received(std::size_t i) const {
    return {bytes_[i].data(), messages_[i].msg_len};
}

std::span<char> Batch::place(std::size_t i, std::size_t size) {
    pieces_[i].iov_len = size;
    messages_[i].msg_hdr.msg_name = nullptr;
    messages_[i].msg_hdr.msg_namelen = 0;
    return {bytes_[i].data(), size};
}

void Batch::send(int socket, std::size_t count) {
    static_cast<void>(::sendmmsg(socket, messages_.data(), static_cast<unsigned>(count), MSG_NOSIGNAL));
}

void Batch::sendBack(int socket, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        pieces_[i].iov_len = messages_[i].msg_len;
    static_cast<void>(::sendmmsg(socket, messages_.data(), static_cast<unsigned>(count), MSG_NOSIGNAL));
}

}  // namespace quillbay::bench
