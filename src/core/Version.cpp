#include "core/Version.h"

namespace quillbay {

const char* applicationVersion() {
    return QUILLBAY_VERSION;
}

const char* applicationBuildNumber() {
    return QUILLBAY_BUILD_NUMBER;
}

}  // namespace quillbay
