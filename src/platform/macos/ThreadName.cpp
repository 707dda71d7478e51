#include "platform/ThreadName.h"

#include <pthread.h>

namespace quillbay {

void setThreadName(const std::string& name) {
    pthread_setname_np(name.c_str());
}

}  // namespace quillbay
