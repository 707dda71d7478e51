#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/CoordinatorFixture.h"
#include "fakes/FakePhone.h"

// How a failed expectation shows a text.
inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}

namespace quillbay {

/// View models on a real coordinator, whose host and network are scripted.
class ModelFixture : public CoordinatorTest {
 protected:
    /// Handles everything that is due, on the main queue and in Qt.
    void turn() {
        world.settle();
        QCoreApplication::processEvents();
    }

    /// The same until `done`.
    bool until(const std::function<bool()>& done) {
        return world.until([&done] {
            QCoreApplication::processEvents();
            return done();
        });
    }

    /// Saves a profile without a word, and returns its id.
    QString save(const DeviceProfile& profile) {
        coordinator->saveProfile(profile, AppCoordinator::SaveAnnouncement::silent);
        return idOf(profile);
    }
    QString save(const std::string& name) { return save(profile(name, 49733)); }

    static QString idOf(const DeviceProfile& profile) { return QString::fromStdString(profile.id()); }

    [[nodiscard]] BridgeStatus::Kind kindOf(const QString& id) const {
        return coordinator->status(id.toStdString()).kind;
    }
    [[nodiscard]] DeviceProfile stored(const QString& id) const {
        for (const DeviceProfile& profile : coordinator->profiles())
            if (idOf(profile) == id) return profile;
        throw std::logic_error("no such profile");
    }

    /// Starts the profile's bridge while this computer has no address, which it says in its error.
    void fail(const QString& id) {
        const auto address = world.address();
        world.setAddress(std::nullopt);
        coordinator->start(stored(id));
        ASSERT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::error; }));
        world.setAddress(address);
    }
    /// Starts it, and leaves it while it looks for the phone.
    void pair(const QString& id) {
        coordinator->start(stored(id));
        ASSERT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::pairing; }));
    }
    /// Saves the profile of a phone that answers, and has its bridge on.
    QString saveAndBridge(const std::string& name) {
        phone = std::make_unique<fakes::FakePhone>(world.phoneIP, fakes::FakePhone::Manner::answers);
        const QString id = save(profile(name, phone->port()));
        coordinator->start(stored(id));
        EXPECT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::on; }));
        return id;
    }

    [[nodiscard]] std::vector<std::string> userLines() const {
        const auto& all = coordinator->logs().userLines();
        return {all.begin(), all.end()};
    }

    std::unique_ptr<fakes::FakePhone> phone;
};

}  // namespace quillbay
