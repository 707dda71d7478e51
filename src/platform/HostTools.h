#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillbay {

/// The command-line tools of the host that this system drives as child processes. Every child but the VPN
/// clients (whose paths the user chooses) is started from this table, and tests replace it.
struct HostTools {
    /// A tool and the arguments that always come first.
    struct Tool {
        std::string executable;
        std::vector<std::string> leadingArguments;
        /// Changes of the environment that it needs: a variable's value, or nothing to remove it.
        std::map<std::string, std::optional<std::string>> environment = {};
    };

    /// Bonjour: `-i IFACE -P …` registers a proxy, `-Z TYPE DOMAIN` dumps a zone.
    Tool dnsSD;
    /// Follows the system log and prints the lines of the pairing daemon, one each, with no further
    /// arguments.
    Tool logFollower;
    /// Answers `devicectl …`.
    Tool xcrun;
    /// Lists processes with `-axo pid=,command=`.
    Tool ps;
    /// Packs files with `-q -j ARCHIVE FILE…`.
    Tool zip;
    /// Opens an address, or a folder, with the program that the user has chosen for it.
    Tool opener;
    /// Opens a mail with `--utf8 --subject TEXT --body TEXT [--attach FILE] ADDRESS`; without an executable
    /// where there is no such tool.
    Tool mailComposer;

    /// The host's own tools. `programDirectory` is the folder of the running program, beside which the
    /// bundled helpers are found.
    static HostTools system(const std::filesystem::path& programDirectory);
};

/// The folder of the running program's executable, with symbolic links resolved.
std::filesystem::path programDirectory();

/// The arguments with which the Mac's `/usr/bin/log` follows the lines that announce a tunnel endpoint.
std::vector<std::string> logStreamArguments();

}  // namespace quillbay
