#include "update/TestCertificates.h"

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fakes/Tools.h"

namespace quillbay::fakes {

namespace {

// The system's own settings of the tool may be anything.
constexpr const char* settings = R"([req]
distinguished_name = name
[name]
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign
subjectKeyIdentifier = hash
[server]
basicConstraints = critical, CA:FALSE
subjectAltName = DNS:updates.test, DNS:fallback.test, DNS:elsewhere.test
)";

void openssl(const std::vector<std::string>& arguments) {
    constexpr std::size_t limitBytes = 65'536;
    const auto result = runToEnd(piped("/usr/bin/openssl", arguments), limitBytes, StopToken());
    if (!result->status.success()) throw std::runtime_error("openssl: " + result->standardError);
}

}  // namespace

const TestCertificates& TestCertificates::made() {
    static const TestCertificates certificates;
    return certificates;
}

TestCertificates::TestCertificates() {
    std::ofstream(folder_.path() / "settings") << settings;
    makeAuthority("authority");
    makeAuthority("stranger");
    openssl({"req", "-new", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-noenc", "-config",
             folder_.path() / "settings", "-subj", "/CN=server", "-keyout", key(), "-out",
             folder_.path() / "request.pem"});
    sign("valid", "2");
    sign("expired", "-1");
}

void TestCertificates::makeAuthority(const char* name) const {
    openssl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-noenc", "-config",
             folder_.path() / "settings", "-extensions", "authority", "-days", "2", "-subj",
             std::string("/CN=") + name, "-keyout", folder_.path() / (std::string(name) + ".key"), "-out",
             folder_.path() / (std::string(name) + ".pem")});
}

void TestCertificates::sign(const char* name, const char* days) const {
    openssl({"x509", "-req", "-in", folder_.path() / "request.pem", "-CA", authority(), "-CAkey",
             folder_.path() / "authority.key", "-extfile", folder_.path() / "settings", "-extensions",
             "server", "-days", days, "-out", folder_.path() / (std::string(name) + ".pem")});
}

}  // namespace quillbay::fakes
