#include "bridge/WatchedSocket.h"

#include <poll.h>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

#ifdef POLLRDHUP
// Tells of a shutdown for receiving alone, which elsewhere is a hang-up like that of both directions.
constexpr short shutDownEvents = POLLRDHUP;
#else
constexpr short shutDownEvents = 0;
#endif

}  // namespace

void WatchedSocket::adopt(UniqueDescriptor socket) {
    close();
    boost::system::error_code error;
    descriptor_.assign(socket.get(), error);
    if (error) throw systemError(error.value());
    static_cast<void>(socket.release());
}

void WatchedSocket::close() {
    boost::system::error_code ignored;  // a failed close has given the descriptor back nonetheless
    descriptor_.close(ignored);
}

bool receivingIsShutDown(int socket) {
    pollfd asked{socket, shutDownEvents, 0};
    return ::poll(&asked, 1, 0) == 1 && (asked.revents & (shutDownEvents | POLLHUP)) != 0;
}

}  // namespace quillbay
