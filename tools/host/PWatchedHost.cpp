// SPDX-License-Identifier: MIT
#include "host/PWatchedHost.h"

#include "helpers/Text.h"
#include "host/HostMessages.h"
#include "host/PHost.h"
#include "shared/PCoreSettings.h"

#include <cstdio>
#include <ctime>
#include <exception>
#include <system_error>
#include <unistd.h>

namespace
{
// A linker and an installation write a library in several steps.
constexpr std::chrono::milliseconds kQuiet(300);

std::string _seconds(std::chrono::steady_clock::duration iTime)
{
    char text[32] = {};
    // Cannot fail: the text has room.
    static_cast<void>(
        std::snprintf(text, sizeof text, "%.3f s", std::chrono::duration<double>(iTime).count()));
    return text;
}

/// What a service manager expects with RELOADING=1.
std::string _monotonicMicroseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now); // cannot fail for this clock
    return std::to_string(now.tv_sec * 1000000LL + now.tv_nsec / 1000);
}

bool _closesLibraries(const std::vector<PString>& iArguments)
{
    bool isClosing = true;
    PString text;
    // The core ignores a text that is no truth value.
    return !PCoreSettings(iArguments).find(L"core.free.plugins.lib", text) ||
           PUtils::strToBool(text, isClosing) != 0 || isClosing;
}
} // namespace

PWatchedHost::PWatchedHost(PHostProcess& ioProcess)
    : PServing(ioProcess), fProbe(ioProcess.signals())
{
    fFiles = readFiles();
    if (!fUnwatched.empty())
    {
        const auto& [directory, reason] = *fUnwatched.begin();
        throw std::runtime_error("--watch cannot watch " + directory + ": " + reason);
    }
    fCopy = ioProcess.copies().copy(fFiles.pluginsDir());
}

EHostExit PWatchedHost::run()
{
    for (;;)
    {
        const EHostExit code = runCore();
        if (fIsFirst && !fIsServing)
        {
            return code;
        }
        fIsFirst = false;
        if (!fHasEnded && !isOver() && !fIsAccepted)
        {
            awaitChangeWithoutCore();
        }
        if (fHasEnded || isOver())
        {
            return end(code);
        }
    }
}

EHostExit PWatchedHost::runCore()
{
    fIsServing = false;
    fIsAccepted = false;
    process().copies().use(fCopy);
    const EHostExit code = PHost(process(), *this, fCopy).run();
    fStoppedAt = Clock::now();
    return code;
}

EHostExit PWatchedHost::end(EHostExit iCode)
{
    if (fHasEnded)
    {
        return iCode;
    }
    notifyManager("STOPPING=1");
    const EHostExit said = process().say("stopped");
    return iCode == eExitOk ? said : iCode;
}

std::string PWatchedHost::begin()
{
    fIsServing = true;
    fWatchdog.reset();
    const std::string ready = PServing::begin();
    tellRemainders();
    const Clock::time_point now = Clock::now();
    return fIsFirst ? ready
                    : "restarted in " + _seconds(now - fAcceptedAt) + " (stop " +
                          _seconds(fStoppedAt - fAcceptedAt) + ", start " +
                          _seconds(now - fStoppedAt) + "), process " + std::to_string(getpid());
}

void PWatchedHost::wait()
{
    while (awaitQuiet() && !acceptChange())
    {
    }
}

bool PWatchedHost::goesOn()
{
    const bool hasFailed = !fIsFirst && !fIsServing;
    fHasEnded = isOver() || !(fIsAccepted || hasFailed);
    return !fHasEnded;
}

void PWatchedHost::awaitChangeWithoutCore()
{
    complain("no core runs; the host waits for the next change");
    answerForCore();
    notifyManager("READY=1\nSTATUS=No core runs: the last start failed; waiting for a change");
    wait();
    fStoppedAt = fAcceptedAt;
}

/// Returns after a change, when no other one follows at once; false if the host is to end.
bool PWatchedHost::awaitQuiet()
{
    bool isPending = false;
    Clock::time_point last;
    while (!isOver())
    {
        std::optional<std::chrono::milliseconds> pause;
        if (isPending)
        {
            pause = std::chrono::ceil<std::chrono::milliseconds>(last + kQuiet - Clock::now());
            if (pause->count() <= 0)
            {
                return true;
            }
        }
        waitFor(fWatch.descriptor(), pause);
        if (fWatch.takeEvents())
        {
            isPending = true;
            last = Clock::now();
        }
    }
    return false;
}

/// Returns false if nothing has changed, or the change is refused or goes on.
bool PWatchedHost::acceptChange()
{
    const PWatchedFiles files = readFiles();
    if (files == fFiles || files == fRefused)
    {
        return false;
    }
    const std::optional<std::string> copy = copyPlugins(files);
    if (!copy)
    {
        return false;
    }
    process().say("changed: " + files.differencesTo(fFiles));
    if (!isFine(files, *copy))
    {
        PPluginCopies::remove(*copy);
        return false;
    }
    fFiles = files;
    fCopy = *copy;
    fIsAccepted = true;
    fAcceptedAt = Clock::now();
    answerForCore();
    notifyManager("RELOADING=1\nMONOTONIC_USEC=" + _monotonicMicroseconds());
    return true;
}

/// Copies the plugins unless they change meanwhile, which causes an event.
std::optional<std::string> PWatchedHost::copyPlugins(const PWatchedFiles& iFiles)
{
    try
    {
        const std::string copy = process().copies().copy(iFiles.pluginsDir());
        if (iFiles == PWatchedFiles(process().options().fCoreArguments))
        {
            return copy;
        }
        PPluginCopies::remove(copy);
    }
    catch (const std::system_error& problem)
    {
        refuse(iFiles, {problem.what()});
    }
    return std::nullopt;
}

bool PWatchedHost::isFine(const PWatchedFiles& iFiles, const std::string& iCopy)
{
    std::vector<std::string> reasons;
    try
    {
        reasons = PChangeCheck(process().options(), fProbe).run(iFiles, iCopy);
    }
    catch (const std::exception& problem) // also a lack of memory
    {
        reasons = {problem.what()};
    }
    if (isOver())
    {
        return false;
    }
    if (!reasons.empty())
    {
        refuse(iFiles, reasons);
    }
    return reasons.empty();
}

void PWatchedHost::refuse(const PWatchedFiles& iFiles, const std::vector<std::string>& iReasons)
{
    fRefused = iFiles;
    for (const std::string& reason : iReasons)
    {
        complain("refused: " + reason);
    }
    complain(fIsServing ? "the running core is kept; correct the files"
                        : "still no core runs; correct the files");
}

/// The service manager gets answers of the host until a core is ready.
void PWatchedHost::answerForCore()
{
    fWatchdog.reset();
    fWatchdog.emplace(PWatchdog::eHost);
}

/// Watches before it reads, so that no change is lost.
PWatchedFiles PWatchedHost::readFiles()
{
    const std::vector<PString>& arguments = process().options().fCoreArguments;
    std::map<std::string, std::string> unwatched =
        fWatch.setPaths(PWatchedFiles(arguments).paths());
    for (const auto& [directory, reason] : unwatched)
    {
        if (!fIsFirst && fUnwatched.count(directory) == 0)
        {
            std::string text = "warning: changes in ";
            complain(text.append(directory).append(" are not noticed: ").append(reason));
        }
    }
    fUnwatched = std::move(unwatched);
    return PWatchedFiles(arguments);
}

void PWatchedHost::tellRemainders()
{
    const std::string why = _closesLibraries(process().options().fCoreArguments)
                                ? " could not be unloaded"
                                : " is not unloaded, because core.free.plugins.lib is false";
    for (const PPluginCopies::Remainder& remainder : process().copies().removeEarlier())
    {
        complain("warning: the earlier " + remainder.library + why + "; " +
                 (remainder.isUsed
                      ? "its old code is still used; restart the host to use the new one"
                      : "the new code runs, and the old code stays in the process"));
    }
}
