#include "ctl/OnTerminal.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/PrintedError.h"

namespace quillbay::fakes {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> found;
    for (std::string& text : texts)
        found.push_back(text.data());
    found.push_back(nullptr);
    return found;
}

std::vector<std::string> environmentFor(const ChildCommand& command) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (!command.environment.contains(text.substr(0, text.find('=')))) variables.push_back(text);
    }
    for (const auto& [name, value] : command.environment)
        if (value) variables.push_back(name + "=" + *value);
    return variables;
}

}  // namespace

OnTerminal::OnTerminal(const ChildCommand& command) {
    // Made before the fork: other threads may hold the allocator's lock at that moment.
    std::vector<std::string> words{command.executable};
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> variables = environmentFor(command);
    const std::vector<char*> arguments = pointers(words);
    const std::vector<char*> environment = pointers(variables);
    int terminal = -1;
    pid_ = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid_ < 0) throw systemError(errno);
    if (pid_ == 0) {
        ::execve(arguments[0], arguments.data(), environment.data());
        ::_exit(127);
    }
    terminal_.reset(terminal);
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    ::fcntl(terminal, F_SETFD, FD_CLOEXEC);
}

OnTerminal::~OnTerminal() {
    if (hasEnded()) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

const std::string& OnTerminal::text() {
    std::array<char, 4096> chunk{};
    ssize_t count = 0;
    while ((count = ::read(terminal_.get(), chunk.data(), chunk.size())) > 0)
        text_.append(chunk.data(), static_cast<std::size_t>(count));
    return text_;
}

void OnTerminal::type(std::string_view keys) const {
    if (::write(terminal_.get(), keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        throw systemError(errno);
}

bool OnTerminal::hasEnded() {
    if (status_) return true;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) return false;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

}  // namespace quillbay::fakes
