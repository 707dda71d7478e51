#include "platform/ActivationPolicy.h"

namespace quillbay {

void becomeRegularApplication() {}

}  // namespace quillbay
