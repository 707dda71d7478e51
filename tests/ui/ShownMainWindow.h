#pragma once

#include <algorithm>
#include <string>

#include "ui/WindowFixture.h"

namespace quillbay {

/// The main window, and three devices for it: one whose bridge is on, one that failed, and one that is off.
class ShownMainWindow : public WindowFixture {
 protected:
    void threeDevices() {
        makeModels();
        lena = named(saveAndBridge("lena-iphone"), "Lena's iPhone 16 Pro");
        qa = named(save("qa-mini", 51020), "QA iPhone 13 mini");
        spare = named(save("spare-se", 50114), "Spare iPhone SE");
        fail(qa);
    }

    /// The profile with another display name, stored.
    DeviceProfile named(DeviceProfile profile, const std::string& displayName) {
        profile = stored(profile);
        profile.displayName = displayName;
        save(profile);
        return profile;
    }
    /// As the coordinator has it now.
    [[nodiscard]] DeviceProfile stored(const DeviceProfile& profile) const {
        const auto& all = coordinator->profiles();
        return *std::ranges::find(all, profile.id(), &DeviceProfile::id);
    }
    [[nodiscard]] static QString idOf(const DeviceProfile& profile) {
        return QString::fromStdString(profile.id());
    }
    void select(const DeviceProfile& profile) {
        mainWindow->setSelection(idOf(profile));
        settleWindow();
    }

    /// The row of a device in the sidebar; null when it is out of sight.
    [[nodiscard]] QQuickItem* row(const DeviceProfile& profile) const {
        for (QQuickItem* item : allOfType("DeviceSidebarRow"))
            if (item->property("profileID").toString() == idOf(profile)) return item;
        return nullptr;
    }

    DeviceProfile lena;
    DeviceProfile qa;
    DeviceProfile spare;
};

}  // namespace quillbay
