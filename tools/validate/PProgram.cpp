// SPDX-License-Identifier: MIT
#include "validate/PProgram.h"

#include "validate/PPipe.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>

namespace
{
constexpr int kCannotRun = 127; ///< as of a shell

/// In the new process, which has one thread.
[[noreturn]] void _run(std::vector<char*>& ioArguments, int iOutput)
{
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (::dup2(nothing, 0) == 0 && ::dup2(iOutput, 1) == 1 && ::dup2(iOutput, 2) == 2)
    {
        static_cast<void>(::execvp(ioArguments.front(), ioArguments.data()));
        const std::string text = std::generic_category().message(errno);
        static_cast<void>(!::write(2, text.data(), text.size()));
    }
    ::_exit(kCannotRun);
}

std::string _lastLine(std::string iText)
{
    while (iText.ends_with('\n'))
    {
        iText.pop_back();
    }
    return iText.substr(iText.rfind('\n') + 1);
}
} // namespace

PProgram::PProgram(const std::vector<std::string>& iCommand) : fName(iCommand.front())
{
    std::vector<std::string> texts = iCommand;
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string& text : texts)
    {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    PPipe pipe;
    const pid_t process = ::fork();
    if (process < 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (process == 0)
    {
        _run(arguments, pipe.writing.get());
    }
    static_cast<void>(pipe.writing.close());
    fOutput = pipe.readToEnd();
    while (::waitpid(process, &fStatus, 0) < 0 && errno == EINTR)
    {
    }
}

bool PProgram::done() const
{
    return WIFEXITED(fStatus) && WEXITSTATUS(fStatus) == 0;
}

const std::string& PProgram::output() const
{
    return fOutput;
}

std::string PProgram::problem() const
{
    const std::string line = _lastLine(fOutput);
    return fName + ": " + (line.empty() ? "status " + std::to_string(fStatus) : line);
}
