#include "platform/DescriptorTable.h"

namespace quillbay {

void reserveDescriptors(std::size_t /*count*/) {}

}  // namespace quillbay
