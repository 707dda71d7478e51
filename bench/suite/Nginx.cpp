#include "suite/Nginx.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quillbay::bench {

namespace {

namespace fs = std::filesystem;

/// Where the module of the nginx that would be started is: the program may lie unpacked in any folder.
fs::path streamModule() {
    const char* const search = std::getenv("PATH");
    std::istringstream folders(search != nullptr ? search : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (!fs::exists(fs::path(folder) / "nginx")) continue;
        const fs::path module = fs::path(folder).parent_path() / "lib/nginx/modules/ngx_stream_module.so";
        if (fs::exists(module)) return module;
    }
    throw std::runtime_error("there is no nginx with its stream module in the PATH");
}

}  // namespace

std::unique_ptr<Child> startNginx(const RunFolder& folder, const std::string& server) {
    const std::string file = folder.path() + "/nginx.conf";
    // The worker of another user could not open this user's standard error again: the log goes nowhere.
    std::ofstream(file) << fmt::format(
        "load_module {};\ndaemon off;\nworker_processes {};\nworker_rlimit_nofile 20000;\npid {}/pid;\n"
        "error_log /dev/null;\nevents {{ worker_connections 16384; multi_accept on; }}\n"
        "stream {{ server {{ {} }} }}\n",
        streamModule().string(), threadsEach(), folder.path(), server);
    return std::make_unique<Child>(
        std::vector<std::string>{"nginx", "-p", folder.path(), "-e", "/dev/null", "-c", file});
}

}  // namespace quillbay::bench
