// SPDX-License-Identifier: MIT
// The check for threads, handles, timers, temporary files and mappings that remain after unloading.

#include "shared/ToolTexts.h"
#include "validate/PCheck.h"
#include "validate/PProcessState.h"
#include "validate/PTrial.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace
{
/// Starts the thread that the C library has for timers and keeps when they are deleted.
void _startTimerThread()
{
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD;
    event.sigev_notify_function = [](sigval) {
    };
    timer_t timer = nullptr;
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0)
    {
        static_cast<void>(::timer_delete(timer)); // cannot fail
    }
}

/// Excludes what a core without the plugin, and the C library, keep.
PProcessState _stateAfterAnEmptyCore(const PTrial& iTrial)
{
    _startTimerThread();
    iTrial.phase("starting and stopping a core without the plugin");
    PTestCore core;
    core.start();
    core.stop();
    return PProcessState::read();
}

/// What is new, except for the plugins' log: a service that the plugin has not released keeps it
/// open, which the check "references" reports.
std::vector<std::string> _new(const PProcessState& iBefore, const fs::path& iLog)
{
    PProcessState now = PProcessState::read();
    std::erase_if(now.handles, [&](const auto& iHandle) { return iHandle.second.name == iLog; });
    return now.since(iBefore);
}

/// The new threads, handles and timers; waits a while for threads that are ending.
std::vector<std::string> _leftovers(const PProcessState& iBefore, const PTestCore& iCore)
{
    const fs::path log = fs::weakly_canonical(iCore.log().file());
    std::vector<std::string> left = _new(iBefore, log);
    for (int i = 0; i < 100 && !left.empty(); ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        left = _new(iBefore, log);
    }
    return left;
}

/// Adds the files in iDirectory, except for those of the test core.
void _addFiles(const fs::path& iDirectory, const PTestCore& iCore,
               std::vector<std::string>& ioTexts)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
    {
        if (entry.path().filename() != iCore.directory().filename())
        {
            ioTexts.push_back("temporary file " + entry.path().filename().string());
        }
    }
}

/// The names of temporary files begin with this directory from now on.
void _useTemporary(const fs::path& iDirectory)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there yet
    if (::setenv("TMPDIR", iDirectory.c_str(), 1) != 0)
    {
        throw PTestError("cannot set TMPDIR");
    }
}
} // namespace

PVerdict checkUnload(PTrial& ioTrial)
{
    const PTestDirectory temporary;
    _useTemporary(temporary.path());
    const PProcessState before = _stateAfterAnEmptyCore(ioTrial);
    PTestCore& core = ioTrial.startCore(true, true);
    ioTrial.initialise();
    ioTrial.phase("stopping the core, which closes the library");
    core.stop();
    ioTrial.phase("looking for what is left");
    std::vector<std::string> left = _leftovers(before, core);
    _addFiles(temporary.path(), core, left);
    if (!left.empty())
    {
        return PVerdict::fail("leaves behind: " + joinedTexts(left),
                              "join threads, close and remove files and delete timers when the "
                              "core announces its exit, or in the destructors");
    }
    if (PProcessState::isMapped(ioTrial.options().plugin))
    {
        return PVerdict::fail("its library stays mapped",
                              "compile with -fno-gnu-unique, link without -z nodelete, and leave "
                              "no thread-local object with a destructor behind");
    }
    return PVerdict::pass("leaves nothing behind");
}
