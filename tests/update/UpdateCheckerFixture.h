#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "fakes/TestHost.h"
#include "update/UpdateChecker.h"
#include "update/UpdateServer.h"

namespace quillbay {

/// A checker whose primary host is a real server, and whose days are the test's. Nothing falls back.
class UpdateCheckerFixture : public testing::Test {
 protected:
    void make(const std::string& currentVersion) {
        checker = UpdateChecker::make(
            world.host, currentVersion,
            {"https://updates.test/api/latest", "https://updates.test/api/latest", server.options()});
        counting = checker->changed.add([this] { ++changes; });
    }

    void answer(const std::string& body) { server.set("updates.test", fakes::httpAnswer(body)); }
    void answerVersion(const std::string& version) {
        answer(R"({"version": ")" + version + R"(", "download_url": "https://quillbay.example/)" + version +
               "\"}");
    }

    /// One check, to its end.
    void check() {
        bool done = false;
        checker->check([&done] { done = true; });
        EXPECT_FALSE(done) << "a check ends inside its own call";
        EXPECT_TRUE(world.until([&done] { return done; }));
    }

    [[nodiscard]] std::size_t requests() const { return server.requests().size(); }
    [[nodiscard]] std::string availableVersion() const {
        return checker->available() ? checker->available()->version : "none";
    }

    fakes::TestHost world;
    fakes::UpdateServer server;
    std::shared_ptr<UpdateChecker> checker;
    int changes = 0;
    Subscription counting;
};

}  // namespace quillbay
