#include "platform/ThreadName.h"

#include <pthread.h>

namespace quillbay {

void setThreadName(const std::string& name) {
    constexpr std::size_t limit = 15;  // a longer name would be refused whole
    const std::string kept = name.size() > limit ? name.substr(name.size() - limit) : name;
    pthread_setname_np(pthread_self(), kept.c_str());
}

}  // namespace quillbay
