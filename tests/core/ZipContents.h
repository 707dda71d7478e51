#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "platform/ChildProcess.h"

namespace quillbay::fakes {

/// The files of a zip archive by their names, as another program reads them; no file for what is no archive.
inline std::map<std::string, std::string> zipContents(const std::filesystem::path& archive) {
    const std::string script =
        "import sys, zipfile\n"
        "for entry in zipfile.ZipFile(sys.argv[1]).infolist():\n"
        "    data = zipfile.ZipFile(sys.argv[1]).read(entry)\n"
        "    sys.stdout.buffer.write(b'%s\\n%d\\n%s' % (entry.filename.encode(), len(data), data))\n";
    ChildCommand command;
    command.executable = "/usr/bin/python3";
    command.arguments = {"-c", script, archive.string()};
    command.standardOutput = ChildCommand::Output::pipe;
    const auto result = runToEnd(command, std::size_t{16} << 20U, StopToken());
    std::map<std::string, std::string> files;
    if (!result || !result->status.success()) return files;
    const std::string& text = result->standardOutput;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t nameEnd = text.find('\n', at);
        const std::size_t sizeEnd = text.find('\n', nameEnd + 1);
        const std::size_t size = std::stoul(text.substr(nameEnd + 1, sizeEnd - nameEnd - 1));
        files[text.substr(at, nameEnd - at)] = text.substr(sizeEnd + 1, size);
        at = sizeEnd + 1 + size;
    }
    return files;
}

}  // namespace quillbay::fakes
