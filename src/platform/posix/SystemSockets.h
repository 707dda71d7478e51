#pragma once

namespace quillbay {

/// What a datagram socket needs on this system before it is bound, so that a port which was in use a moment
/// ago can be had again while one that is in use is still refused. 0, or -1 with `errno`.
int prepareDatagramBind(int descriptor);

}  // namespace quillbay
