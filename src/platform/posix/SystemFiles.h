#pragma once

namespace quillbay {

/// Has the system put the file's content on the disk itself. 0, or -1 with `errno`.
int syncToDisk(int descriptor);

}  // namespace quillbay
