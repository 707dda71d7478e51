#include "discovery/DeviceCtlListerError.h"

#include <utility>

#include "platform/PrintedError.h"

namespace quillbay {

DeviceCtlListerError DeviceCtlListerError::processFailed(int status) {
    DeviceCtlListerError error(Kind::processFailed, "processFailed(status: " + std::to_string(status) + ")");
    error.status_ = status;
    return error;
}

DeviceCtlListerError DeviceCtlListerError::processFailed(std::exception_ptr launchError) {
    const std::string cause = launchError ? printedError(launchError) : "abandoned";
    DeviceCtlListerError error(Kind::processFailed, "processFailed(" + cause + ")");
    error.launchError_ = std::move(launchError);
    return error;
}

DeviceCtlListerError DeviceCtlListerError::decodingFailed() {
    return {Kind::decodingFailed, "decodingFailed"};
}

}  // namespace quillbay
