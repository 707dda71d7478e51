#pragma once

#include <QStringList>

#include "platform/FileLocations.h"

namespace quillbay {

/// What will not be kept on this computer as it is now, one sentence each; none when all is well. Finds out
/// by writing, so it blocks for as long as the disk takes, and leaves nothing behind but the program's
/// folders.
QStringList storageProblems(const FileLocations& files);

}  // namespace quillbay
