#include "core/Version.h"

namespace quillbay {

const char* applicationVersion() {
    return QUILLBAY_VERSION;
}

}  // namespace quillbay
