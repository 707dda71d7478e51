#include "update/UpdateServer.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "fakes/Tools.h"
#include "fakes/WaitUntil.h"

namespace quillbay::fakes {

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

const char* nameOf(UpdateServer::Manner manner) {
    switch (manner) {
        using enum UpdateServer::Manner;
        case answers:
            return "answers";
        case aborts:
            return "aborts";
        case hangs:
            return "hangs";
        case holds:
            return "holds";
        case floods:
            return "floods";
    }
    return "";
}

}  // namespace

std::string httpAnswer(const std::string& body, const std::string& status) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string httpRedirect(const std::string& location) {
    return "HTTP/1.1 302 Found\r\nLocation: " + location + "\r\nContent-Length: 0\r\n\r\n";
}

UpdateServer::UpdateServer(const std::optional<std::filesystem::path>& certificate) {
    for (const char* name : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        ::unsetenv(name);
    std::vector<std::string> arguments{folder_.path()};
    if (certificate) {
        arguments.push_back(*certificate);
        arguments.push_back(TestCertificates::made().key());
    }
    child_ = ChildProcess::launch(silent(toolPath("update-server"), arguments));
    const std::filesystem::path port = folder_.path() / "port";
    if (!waitUntil([&] { return std::filesystem::exists(port) || !child_->isRunning(); }) ||
        !child_->isRunning())
        throw std::runtime_error("the server does not start");
    port_ = contentOf(port);
}

UpdateServer::~UpdateServer() {
    child_->terminateAndWait();
}

void UpdateServer::set(const std::string& host, const std::string& bytes, Manner manner) const {
    std::ofstream(folder_.path() / ("answer-" + host), std::ios::binary) << nameOf(manner) << '\n' << bytes;
}

void UpdateServer::release() const {
    const std::ofstream opened(folder_.path() / "release");
}

std::vector<std::string> UpdateServer::requests() const {
    std::vector<std::string> heads;
    while (true) {
        const std::filesystem::path path = folder_.path() / ("request-" + std::to_string(heads.size()));
        if (!std::filesystem::exists(path)) return heads;
        heads.push_back(contentOf(path));
    }
}

bool UpdateServer::clientHasLeft() const {
    return std::filesystem::exists(folder_.path() / "left");
}

std::optional<std::size_t> UpdateServer::flooded() const {
    const std::string count = contentOf(folder_.path() / "flooded");
    if (count.empty()) return std::nullopt;
    return std::stoull(count);
}

HTTPSOptions UpdateServer::options() const {
    HTTPSOptions options;
    options.authorities = TestCertificates::made().authority();
    options.connectTo = {connectTo("updates.test"), connectTo("fallback.test"), connectTo("elsewhere.test")};
    return options;
}

std::string UpdateServer::connectTo(const std::string& name) const {
    return name + ":443:" + host();
}

}  // namespace quillbay::fakes
