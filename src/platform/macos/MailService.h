#pragma once

#include <functional>

#include "platform/DesktopServices.h"

namespace quillbay {

/// Opens the system's mail composer with the draft. Called on the main thread, where `done` runs once,
/// perhaps before the call has returned. A program without windows has no composer.
void composeInMailService(const MailDraft& draft, std::function<void(MailAnswer)> done);

}  // namespace quillbay
