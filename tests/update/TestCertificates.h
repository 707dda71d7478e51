#pragma once

#include <filesystem>

#include "fakes/TemporaryFolder.h"

namespace quillbay::fakes {

/// Certificates for servers of the tests, made with the `openssl` tool. All belong to one key; the hosts are
/// updates.test, fallback.test and elsewhere.test.
class TestCertificates {
 public:
    /// Those of this test program; made at the first call.
    static const TestCertificates& made();

    /// The authority that signed the others, for the client.
    [[nodiscard]] std::filesystem::path authority() const { return folder_.path() / "authority.pem"; }
    /// Another authority, which has signed nothing.
    [[nodiscard]] std::filesystem::path stranger() const { return folder_.path() / "stranger.pem"; }

    [[nodiscard]] std::filesystem::path valid() const { return folder_.path() / "valid.pem"; }
    /// As `valid`, until yesterday.
    [[nodiscard]] std::filesystem::path expired() const { return folder_.path() / "expired.pem"; }
    [[nodiscard]] std::filesystem::path key() const { return folder_.path() / "server.key"; }

 private:
    TestCertificates();
    void makeAuthority(const char* name) const;
    void sign(const char* name, const char* days) const;

    TemporaryFolder folder_;
};

}  // namespace quillbay::fakes
