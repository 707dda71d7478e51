#include "platform/posix/InterfaceChangeSocket.h"

#include <net/route.h>
#include <sys/socket.h>

#include "platform/Sockets.h"

namespace quillbay {

UniqueDescriptor openInterfaceChangeSocket() {
    return openSocket(PF_ROUTE, SOCK_RAW);
}

}  // namespace quillbay
