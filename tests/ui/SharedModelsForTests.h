#pragma once

#include <memory>

#include "core/AppCoordinator.h"
#include "ui/WindowFakes.h"
#include "ui/models/SharedModels.h"
#include "update/UpdateChecker.h"

namespace quillbay {

/// What the windows share, with a checker that asks nobody.
struct SharedModelsForTests {
    SharedModelsForTests(const Host& host, AppCoordinator& coordinator)
        : checker(UpdateChecker::make(host, "1.4.2")),
          profiles(coordinator),
          log(coordinator.logs()),
          updates(*checker, &desktop) {}

    fakes::RecordingDesktop desktop;
    std::shared_ptr<UpdateChecker> checker;
    ProfilesModel profiles;
    LogModel log;
    UpdateModel updates;
    NoticesModel notices;
    AppActions actions;
    SharedModels models{profiles, log, updates, notices, actions};
};

}  // namespace quillbay
