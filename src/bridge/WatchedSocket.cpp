#include "bridge/WatchedSocket.h"

#include "platform/PrintedError.h"

namespace quillbay {

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

}  // namespace quillbay
