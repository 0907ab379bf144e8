// SPDX-License-Identifier: MIT
// The check for work in static constructors.

#include "shared/PFileDescriptor.h"
#include "shared/ToolTexts.h"
#include "validate/PCheck.h"
#include "validate/PCoreCalls.h"
#include "validate/PProcessState.h"
#include "validate/PTrial.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <set>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{
/// Collects the standard streams in memory until its end.
class PCaughtOutput
{
public:
    PCaughtOutput() : fFile(::memfd_create("output", MFD_CLOEXEC))
    {
        flush();
        for (const int stream : kStreams)
        {
            fBefore.emplace_back(::fcntl(stream, F_DUPFD_CLOEXEC, 0));
            if (::dup2(fFile.get(), stream) != stream)
            {
                throw std::system_error(errno, std::generic_category(), "cannot catch output");
            }
        }
    }

    PCaughtOutput(const PCaughtOutput&) = delete;
    PCaughtOutput& operator=(const PCaughtOutput&) = delete;

    /// Whether something was written; restores the streams.
    bool end()
    {
        flush();
        for (const int stream : kStreams)
        {
            static_cast<void>(::dup2(fBefore[static_cast<std::size_t>(stream - 1)].get(), stream));
        }
        return ::lseek(fFile.get(), 0, SEEK_END) > 0;
    }

private:
    static constexpr std::array<int, 2> kStreams = {STDOUT_FILENO, STDERR_FILENO};

    static void flush()
    {
        std::cout.flush();
        static_cast<void>(std::fflush(nullptr)); // a stream that cannot be written has no output
    }

    const PFileDescriptor fFile;
    std::vector<PFileDescriptor> fBefore;
};

std::multiset<std::string> _environment()
{
    std::multiset<std::string> variables;
    for (char* const* each = environ; each && *each; ++each)
    {
        variables.insert(*each);
    }
    return variables;
}

/// The functions that handle the signals.
std::vector<void (*)(int)> _handlers()
{
    std::vector<void (*)(int)> handlers;
    for (int number = 1; number <= SIGRTMAX; ++number)
    {
        struct sigaction action = {};
        static_cast<void>(::sigaction(number, nullptr, &action)); // fails for reserved numbers
        handlers.push_back(action.sa_handler);
    }
    return handlers;
}

bool _hasChildren()
{
    siginfo_t ignored = {};
    return ::waitid(P_ALL, 0, &ignored, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// What code of a library can change without being called.
struct PSurroundings
{
    PProcessState process = PProcessState::read();
    std::multiset<std::string> environment = _environment();
    std::filesystem::path directory = std::filesystem::current_path();
    std::vector<void (*)(int)> handlers = _handlers();
};

std::vector<std::string> _changes(const PSurroundings& iBefore, const PSurroundings& iNow)
{
    std::vector<std::string> found;
    for (const std::string& held : iNow.process.since(iBefore.process))
    {
        found.push_back("leaves " + held);
    }
    const std::vector<std::pair<bool, const char*>> changes = {
        {iNow.environment != iBefore.environment, "changes the environment"},
        {iNow.directory != iBefore.directory, "changes the current directory"},
        {iNow.handlers != iBefore.handlers, "sets a signal handler"},
        {_hasChildren(), "starts a process"}};
    for (const auto& [isChanged, text] : changes)
    {
        if (isChanged)
        {
            found.emplace_back(text);
        }
    }
    return found;
}
} // namespace

PVerdict checkConstructor(PTrial& ioTrial)
{
    PCaughtOutput output;
    const PSurroundings before;
    PCoreCalls::begin();
    const bool loaded = ioTrial.load() != nullptr;
    const std::vector<PCoreCalls::Call> calls = PCoreCalls::end();
    std::vector<std::string> work = _changes(before, PSurroundings());
    for (const PCoreCalls::Call& call : calls)
    {
        work.push_back("calls " + call.text);
    }
    if (output.end())
    {
        work.emplace_back("writes to the standard streams");
    }
    if (!loaded)
    {
        return PVerdict::fail(ioTrial.loadError(), "see the check \"loads\"");
    }
    return work.empty() ? PVerdict::pass("loading does no work")
                        : PVerdict::fail("a static constructor " + joinedTexts(work),
                                         "do it in init: a library is also loaded to be listed");
}
