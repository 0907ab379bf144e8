// SPDX-License-Identifier: MIT
// The check for threads, handles and mappings that remain after unloading.

#include "validate/PCheck.h"
#include "validate/PProcessState.h"
#include "validate/PTrial.h"

#include <chrono>
#include <thread>

namespace
{
/// Excludes handles that a core without the plugin keeps open after its first stop.
PProcessState _stateAfterAnEmptyCore(const PTrial& iTrial)
{
    iTrial.phase("starting and stopping a core without the plugin");
    PTestCore core;
    core.start();
    core.stop();
    return PProcessState::read();
}

/// The new threads and handles; waits a while for threads that are ending.
std::vector<std::string> _leftovers(const PProcessState& iBefore)
{
    std::vector<std::string> left = PProcessState::read().since(iBefore);
    for (int i = 0; i < 100 && !left.empty(); ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        left = PProcessState::read().since(iBefore);
    }
    return left;
}

std::string _joined(const std::vector<std::string>& iTexts)
{
    std::string joined;
    for (const std::string& text : iTexts)
    {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}
} // namespace

PVerdict checkUnload(PTrial& ioTrial)
{
    const PProcessState before = _stateAfterAnEmptyCore(ioTrial);
    PTestCore& core = ioTrial.startCore(true, true);
    ioTrial.initialise();
    ioTrial.phase("stopping the core, which closes the library");
    core.stop();
    ioTrial.phase("looking for what is left");
    const std::vector<std::string> left = _leftovers(before);
    if (!left.empty())
    {
        return PVerdict::fail("leaves behind: " + _joined(left),
                              "join threads and close files when the core announces its exit, or "
                              "in the destructors");
    }
    if (PProcessState::isMapped(ioTrial.options().plugin))
    {
        return PVerdict::fail("its library stays mapped",
                              "compile with -fno-gnu-unique, link without -z nodelete, and leave "
                              "no thread-local object with a destructor behind");
    }
    return PVerdict::pass("leaves nothing behind");
}
