#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "fakes/TemporaryFolder.h"
#include "providers/MeshVPNProviderError.h"

namespace quillbay {

/// A scripted client of the test's tools.
inline std::string toolPath(const std::string& name) {
    return std::string(QUILLBAY_TEST_TOOLS) + "/" + name;
}

/// A client that prints a document and succeeds.
class ScriptedClient {
 public:
    explicit ScriptedClient(const std::string& document) {
        std::ofstream(folder_.path() / "document") << document;
        std::ofstream(path()) << "#!/bin/sh\ncat \"${0%/*}/document\"\n";
        ::chmod(path().c_str(), 0700);
    }
    [[nodiscard]] std::string path() const { return folder_.path() / "client"; }

 private:
    fakes::TemporaryFolder folder_;
};

/// The error that `body` fails with; a failure of the test and an unlikely error when it does not.
template <typename Body>
MeshVPNProviderError providerErrorOf(Body body) {
    try {
        body();
    } catch (const MeshVPNProviderError& error) {
        return error;
    }
    ADD_FAILURE() << "no error";
    return MeshVPNProviderError::processFailed(-99, "no error");
}

}  // namespace quillbay
