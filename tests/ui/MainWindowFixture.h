#pragma once

#include <QSignalSpy>
#include <memory>

#include "platform/SettingsStore.h"
#include "ui/ModelFixture.h"
#include "ui/SharedModelsForTests.h"
#include "ui/models/MainWindowModel.h"

namespace quillbay {

/// The main window's model, and what it is made of.
class MainWindowFixture : public ModelFixture {
 protected:
    MainWindowFixture() { make(); }
    ~MainWindowFixture() override { model.reset(); }

    void open() {
        if (!shared) shared = std::make_unique<SharedModelsForTests>(world.host, *coordinator);
        model = std::make_unique<MainWindowModel>(*coordinator, settings, shared->models);
    }
    /// As the next run of the program finds it.
    void reopen() {
        model.reset();
        open();
    }
    void remove(const QString& id) { coordinator->deleteProfile(stored(id)); }

    SettingsStore settings{world.host.files};
    std::unique_ptr<SharedModelsForTests> shared;
    std::unique_ptr<MainWindowModel> model;
};

}  // namespace quillbay
