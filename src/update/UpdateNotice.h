#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Observers.h"
#include "update/Update.h"
#include "update/UpdateChecker.h"

namespace quillbay {

/// "Version 1.4.2 is available: https://…": one line without a line feed, whatever the service called its
/// version. Control characters show as U+FFFD; a version of more than 40 code points is cut.
std::string updateNoticeLine(const Update& update);

/// The notice of a newer version for a program without windows: hands `print` one line each time the checker
/// finds a version that is not the one it found last. Belongs to the main queue; dropping it ends the
/// notices.
class UpdateNotice {
 public:
    UpdateNotice(const std::shared_ptr<UpdateChecker>& checker,
                 std::function<void(const std::string& line)> print);
    UpdateNotice(const UpdateNotice&) = delete;
    UpdateNotice& operator=(const UpdateNotice&) = delete;

 private:
    std::optional<std::string> printedVersion_;
    Subscription subscription_;
};

}  // namespace quillbay
