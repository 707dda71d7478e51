#include "platform/HostTools.h"

namespace quillbay {

std::vector<std::string> logStreamArguments() {
    return {"stream", "--style", "compact", "--predicate",
            "process == \"remotepairingd\" AND eventMessage CONTAINS \"Got tunnel endpoint\""};
}

}  // namespace quillbay
