#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "fakes/TemporaryFolder.h"
#include "platform/ChildProcess.h"
#include "update/HTTPSFetch.h"
#include "update/TestCertificates.h"

namespace quillbay::fakes {

/// An HTTP answer with this body and its length.
std::string httpAnswer(const std::string& body, const std::string& status = "200 OK");

/// An HTTP answer that sends the client elsewhere.
std::string httpRedirect(const std::string& location);

/// A real HTTPS server, in a child of its own, for the hosts of the test certificates. What it answers is
/// told to it for each host; it may be changed between two requests. The client's proxy settings are removed
/// from the environment.
class UpdateServer {
 public:
    /// What happens around the bytes that are sent.
    enum class Manner {
        /// Closes as TLS asks to.
        answers,
        /// Closes without a word.
        aborts,
        /// Goes silent.
        hangs,
        /// Waits for `release` before it sends.
        holds,
        /// Goes on for ever.
        floods,
    };
    /// No certificate: in the clear.
    explicit UpdateServer(
        const std::optional<std::filesystem::path>& certificate = TestCertificates::made().valid());
    ~UpdateServer();
    UpdateServer(const UpdateServer&) = delete;
    UpdateServer& operator=(const UpdateServer&) = delete;

    void set(const std::string& host, const std::string& bytes, Manner manner = Manner::answers) const;

    /// Sends what is held. Blocks until the server waits for it.
    void release() const;

    /// The heads of the requests so far, in order.
    [[nodiscard]] std::vector<std::string> requests() const;
    /// A client that was left hanging has gone.
    [[nodiscard]] bool clientHasLeft() const;
    /// How many bytes the last flood got rid of; nothing while it lasts.
    [[nodiscard]] std::optional<std::size_t> flooded() const;

    /// Trusts the test's authority, and finds the test's hosts here.
    [[nodiscard]] HTTPSOptions options() const;
    /// Where it listens, as "ADDRESS:PORT".
    [[nodiscard]] std::string host() const { return "127.0.0.1:" + port_; }
    /// Finds the host here.
    [[nodiscard]] std::string connectTo(const std::string& name) const;

 private:
    TemporaryFolder folder_;
    std::optional<ChildProcess> child_;
    std::string port_;
};

}  // namespace quillbay::fakes
