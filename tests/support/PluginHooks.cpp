// SPDX-License-Identifier: MIT
#include "support/PluginHooks.h"

#include "portinglayer/PExport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

namespace
{
struct State
{
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, std::function<int()>> actions;
    std::vector<std::string> journal;
};

std::atomic<bool> sEnded{false};

// Never destroyed: plugin libraries report steps until the end of the process.
State& _state()
{
    static State* const state = new State;
    return *state;
}

int _count(const State& iState, const std::string& iStep)
{
    return static_cast<int>(std::count(iState.journal.begin(), iState.journal.end(), iStep));
}
} // namespace

/// Called by the test plugins.
extern "C" IXLA_EXPORT int ixlalTestStep(const char* iStep);
extern "C" IXLA_EXPORT bool ixlalTestEnded();

extern "C" int ixlalTestStep(const char* iStep)
{
    State& state = _state();
    std::function<int()> action;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.journal.push_back(iStep);
        const auto found = state.actions.find(iStep);
        if (found != state.actions.end())
        {
            action = found->second;
        }
    }
    state.changed.notify_all();
    return action ? action() : 0;
}

extern "C" bool ixlalTestEnded()
{
    return sEnded;
}

void PluginHooks::end()
{
    sEnded = true;
}

void PluginHooks::set(const std::string& iStep, std::function<int()> iAction)
{
    const std::lock_guard<std::mutex> lock(_state().mutex);
    _state().actions[iStep] = std::move(iAction);
}

std::vector<std::string> PluginHooks::journal()
{
    const std::lock_guard<std::mutex> lock(_state().mutex);
    return _state().journal;
}

int PluginHooks::count(const std::string& iStep)
{
    const std::lock_guard<std::mutex> lock(_state().mutex);
    return _count(_state(), iStep);
}

bool PluginHooks::waitFor(const std::string& iStep, int iTimes)
{
    State& state = _state();
    std::unique_lock<std::mutex> lock(state.mutex);
    return state.changed.wait_for(lock, std::chrono::seconds(10),
                                  [&] { return _count(state, iStep) >= iTimes; });
}

int PluginHooks::position(const std::string& iStep)
{
    const std::vector<std::string> steps = journal();
    const auto found = std::find(steps.begin(), steps.end(), iStep);
    return found == steps.end() ? -1 : static_cast<int>(found - steps.begin());
}
