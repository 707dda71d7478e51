#include "platform/Datagrams.h"

#include "platform/posix/PlainDatagrams.h"

namespace quillbay {

DatagramCount receiveDatagrams(int socket, Directed directed, std::span<Datagram> places) {
    return plain::receiveDatagrams(socket, directed, places);
}

DatagramCount sendDatagrams(int socket, Directed directed, std::span<const Datagram> datagrams) {
    return plain::sendDatagrams(socket, directed, datagrams);
}

}  // namespace quillbay
