#pragma once

#include <span>

#include "platform/Datagrams.h"

namespace quillbay::plain {

// What platform/Datagrams.h says, with one call for each datagram: for systems that have no other, and for
// what the others refuse.

DatagramCount receiveDatagrams(int socket, Directed directed, std::span<Datagram> places);
DatagramCount sendDatagrams(int socket, Directed directed, std::span<const Datagram> datagrams);

}  // namespace quillbay::plain
