#include "core/SupportAddress.h"

namespace quillbay {

const char* supportAddress() {
    return QUILLBAY_SUPPORT_ADDRESS;
}

}  // namespace quillbay
