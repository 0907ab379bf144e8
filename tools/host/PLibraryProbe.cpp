// SPDX-License-Identifier: MIT
#include "host/PLibraryProbe.h"

#include "shared/PFileDescriptor.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
constexpr std::chrono::seconds kLimit(10);
constexpr int kResults = 3; // the descriptor of the process for its results
constexpr int kKilledByHost = -1;
constexpr off_t kMostResults = 1 << 20;

/// The program of the build tree or of the prefix of this one.
std::string _findProgram()
{
    const fs::path bin = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* const place : {"../libexec/ixlal/ixla-probe", "../libexec/ixla-probe"})
    {
        if (access((bin / place).c_str(), X_OK) == 0)
        {
            return bin / place;
        }
    }
    throw std::runtime_error("--watch needs " + (bin / "../libexec/ixlal/ixla-probe").string() +
                             ", which is missing; install ixlal-tools completely");
}

[[noreturn]] void _fail(int iError, const std::string& iWhat)
{
    throw std::system_error(iError, std::generic_category(), iWhat);
}

/// The attributes of the process: a group of its own, and the usual signals.
class Attributes
{
public:
    Attributes()
    {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        // Only the first call can fail, for lack of memory.
        if (const int error = posix_spawnattr_init(&fAttributes))
        {
            _fail(error, "cannot start ixla-probe");
        }
        posix_spawnattr_setsigmask(&fAttributes, &none);
        posix_spawnattr_setsigdefault(&fAttributes, &all);
        posix_spawnattr_setpgroup(&fAttributes, 0);
        posix_spawnattr_setflags(&fAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                   POSIX_SPAWN_SETPGROUP);
    }

    ~Attributes()
    {
        posix_spawnattr_destroy(&fAttributes);
    }

    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* get() const
    {
        return &fAttributes;
    }

private:
    posix_spawnattr_t fAttributes = {};
};

/// The descriptors of the process: results, and no standard streams.
class Descriptors
{
public:
    explicit Descriptors(int iResults)
    {
        int error = posix_spawn_file_actions_init(&fActions);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        {
            const int mode = stream == STDIN_FILENO ? O_RDONLY : O_WRONLY;
            error = error != 0
                        ? error
                        : posix_spawn_file_actions_addopen(&fActions, stream, "/dev/null", mode, 0);
        }
        error =
            error != 0 ? error : posix_spawn_file_actions_adddup2(&fActions, iResults, kResults);
        if (error != 0)
        {
            _fail(error, "cannot start ixla-probe");
        }
    }

    ~Descriptors()
    {
        posix_spawn_file_actions_destroy(&fActions);
    }

    Descriptors(const Descriptors&) = delete;
    Descriptors& operator=(const Descriptors&) = delete;

    const posix_spawn_file_actions_t* get() const
    {
        return &fActions;
    }

private:
    posix_spawn_file_actions_t fActions = {};
};

int _spawn(const std::string& iProgram, const std::string& iLibrary, int iResults)
{
    const Attributes attributes;
    const Descriptors descriptors(iResults);
    std::string name = "ixla-probe";
    std::string results = std::to_string(kResults);
    std::string library = iLibrary;
    const std::array<char*, 4> arguments = {name.data(), results.data(), library.data(), nullptr};
    pid_t process = -1;
    if (const int error = posix_spawn(&process, iProgram.c_str(), descriptors.get(),
                                      attributes.get(), arguments.data(), environ))
    {
        _fail(error, "cannot start " + iProgram);
    }
    return process;
}

/// The facts of all lines, up to one that the process has not finished.
nlohmann::json _readFacts(int iFile)
{
    std::string text(static_cast<std::size_t>(kMostResults), '\0');
    const ssize_t count = pread(iFile, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    nlohmann::json facts = nlohmann::json::object();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        const nlohmann::json fact = nlohmann::json::parse(line, nullptr, false);
        if (fact.is_object())
        {
            facts.update(fact);
        }
    }
    return facts;
}

/// When the process died.
std::string _phase(const std::string& iStage)
{
    static const std::map<std::string, std::string> phases = {
        {"load", " while it was loaded"},   {"create", " in its factory"},
        {"list", " in getInterfaces"},      {"release", " while it was released"},
        {"done", " after it was released"},
    };
    const auto found = phases.find(iStage);
    return found == phases.end() ? "" : found->second;
}

std::string _howItEnded(int iStatus)
{
    if (iStatus == kKilledByHost)
    {
        return "does not end within " + std::to_string(kLimit.count()) + " s";
    }
    if (WIFSIGNALED(iStatus))
    {
        const char* const name = sigabbrev_np(WTERMSIG(iStatus));
        return std::string("is killed by SIG") + (name ? name : "?");
    }
    return "ends the process with exit code " + std::to_string(WEXITSTATUS(iStatus));
}
} // namespace

PLibraryProbe::PLibraryProbe(const PStopSignals& iSignals)
    : fSignals(iSignals), fProgram(_findProgram())
{
}

PLibraryProbe::Outcome PLibraryProbe::run(const std::string& iLibrary) const
{
    const PFileDescriptor results(memfd_create("ixla-probe results", MFD_CLOEXEC));
    if (!results)
    {
        _fail(errno, "no memory for the results of ixla-probe");
    }
    const int status = awaitEnd(_spawn(fProgram, iLibrary, results.get()));
    try
    {
        return judge(_readFacts(results.get()), status);
    }
    catch (const nlohmann::json::exception&)
    {
        return {"writes to a handle that it has not opened", {}, {}};
    }
}

/// The status of the process as waitpid gives it, or kKilledByHost. Processes that the library has
/// started are killed.
int PLibraryProbe::awaitEnd(int iProcess) const
{
    // The header of Debian 12 lacks the C linkage of pidfd_open.
    const PFileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, iProcess, 0)));
    pollfd descriptors[] = {{process.get(), POLLIN, 0}, {fSignals.descriptor(), POLLIN, 0}};
    const auto limit = std::chrono::milliseconds(kLimit);
    const bool hasCome =
        poll(descriptors, std::size(descriptors), static_cast<int>(limit.count())) > 0;
    const bool hasEnded = hasCome && descriptors[0].revents != 0;
    // The process is a zombie at least, so its number is not used again.
    static_cast<void>(kill(-iProcess, SIGKILL));
    static_cast<void>(kill(iProcess, SIGKILL)); // a group that does not exist yet
    int status = 0;
    while (waitpid(iProcess, &status, 0) < 0 && errno == EINTR)
    {
    }
    return hasEnded ? status : kKilledByHost;
}

PLibraryProbe::Outcome PLibraryProbe::judge(const nlohmann::json& iFacts, int iStatus)
{
    Outcome outcome;
    const std::string stage = iFacts.value("stage", "");
    outcome.interfaces = iFacts.value("interfaces", outcome.interfaces);
    outcome.builtIn = iFacts.value("built_in", outcome.builtIn);
    const std::string reason = iFacts.value("reason", "");
    if (iStatus != 0 || (stage != "done" && reason.empty()))
    {
        outcome.flaw = _howItEnded(iStatus) + _phase(stage);
    }
    else if (!reason.empty())
    {
        outcome.flaw = reason + "; the core would not start: " + iFacts.value("result", "");
    }
    return outcome;
}
