// SPDX-License-Identifier: MIT
// PluginHooks: observes and controls the test plugins.
#ifndef IXLAL_TESTS_PLUGINHOOKS_H
#define IXLAL_TESTS_PLUGINHOOKS_H

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

/// The test plugins report every step ("alpha.init", "alpha.destroyed", "alpha.unmapped") to the
/// test binary, which returns the result code of the step.
struct PluginHooks
{
    /// Runs iAction whenever the step is reported; the plugin returns its result, or 0 if it has
    /// none. It runs on the plugin's thread, with no lock of the hooks held, and may throw.
    template <class TAction>
    static void on(const std::string& iStep, TAction iAction)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<TAction&>>)
        {
            set(iStep, [iAction]() mutable { return iAction(), 0; });
        }
        else
        {
            set(iStep, iAction);
        }
    }

    /// The steps so far, in order, and the number of reports of one step.
    static std::vector<std::string> journal();
    static int count(const std::string& iStep);

    /// Waits until a step has been reported iTimes; false after ten seconds.
    static bool waitFor(const std::string& iStep, int iTimes = 1);

    /// Stops plugins that work until the end of the test (see ixlalTestEnded).
    static void end();

    /// The position of a step in the journal; -1 if it was not reported.
    static int position(const std::string& iStep);

private:
    static void set(const std::string& iStep, std::function<int()> iAction);
};

#endif
