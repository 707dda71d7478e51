#include "platform/NetworkInterfaces.h"

namespace quillbay {

std::string localInterfaceName() {
    return "en0";
}

}  // namespace quillbay
