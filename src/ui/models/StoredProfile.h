#pragma once

#include <QString>

#include "core/AppCoordinator.h"

namespace quillbay {

/// The saved profile with this id, the first of several; null without one. Valid until the profiles change.
const DeviceProfile* storedProfile(const AppCoordinator& coordinator, const QString& profileID);

}  // namespace quillbay
