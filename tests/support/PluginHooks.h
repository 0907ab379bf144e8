// SPDX-License-Identifier: MIT
// PluginHooks: lets a test watch the test plugins and decide what they do.
#ifndef IXLAL_TESTS_PLUGINHOOKS_H
#define IXLAL_TESTS_PLUGINHOOKS_H

#include <functional>
#include <string>
#include <vector>

/// The test plugins report every step ("alpha.init", "alpha.destroyed", "alpha.unmapped") to the
/// test binary, which answers with the code that the step is to return.
struct PluginHooks
{
    /// Runs iAction whenever the step is reported; its result is what the plugin returns. It runs
    /// on the plugin's thread, with no lock of the hooks held, and may throw.
    static void on(const std::string& iStep, std::function<int()> iAction);

    /// The steps so far, in order; and how often one was reported.
    static std::vector<std::string> journal();
    static int count(const std::string& iStep);

    /// Waits until a step was reported iTimes; false after ten seconds.
    static bool waitFor(const std::string& iStep, int iTimes = 1);

    /// Tells plugins that work until the end of the test to end now (see ixlalTestEnded).
    static void end();

    /// Position of a step in the journal; -1 when it was not reported.
    static int position(const std::string& iStep);
};

#endif
