#pragma once

namespace quillbay {

/// The e-mail address of the support team, given when the program is built (QUILLBAY_SUPPORT_ADDRESS).
const char* supportAddress();

}  // namespace quillbay
