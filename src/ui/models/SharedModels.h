#pragma once

#include "ui/models/AppActions.h"
#include "ui/models/LogModel.h"
#include "ui/models/NoticesModel.h"
#include "ui/models/ProfilesModel.h"
#include "ui/models/UpdateModel.h"

namespace quillbay {

/// The models that several windows show. They outlive the models of the windows.
struct SharedModels {
    ProfilesModel& profiles;
    LogModel& log;
    UpdateModel& updates;
    NoticesModel& notices;
    AppActions& actions;
};

}  // namespace quillbay
