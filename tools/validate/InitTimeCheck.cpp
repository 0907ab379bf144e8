// SPDX-License-Identifier: MIT
// The check for a slow init.

#include "helpers/ResultText.h"
#include "validate/PCheck.h"
#include "validate/PTrial.h"

#include <chrono>
#include <cstdio>

namespace
{
std::string _seconds(double iSeconds)
{
    char text[64];
    (void)std::snprintf(text, sizeof text, "%.2f s", iSeconds);
    return text;
}
} // namespace

// Calls init directly, because a request may initialise other plugins, too.
PVerdict checkInitTime(PTrial& ioTrial)
{
    ioTrial.startCore(false);
    static_cast<void>(ioTrial.initialiseOthers());
    IPlugin* const plugin = ioTrial.makePlugin();
    ioTrial.phase("initialising the plugin");
    const auto begin = std::chrono::steady_clock::now();
    const int result = plugin->init();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    const int limit = ioTrial.options().initLimit;
    if (taken > std::chrono::seconds(limit))
    {
        return PVerdict::fail("init took " + _seconds(taken.count()) + "; the limit is " +
                                  std::to_string(limit) + " s",
                              "do slow work on a thread or on first use, or raise --init-limit");
    }
    // The check "unknown-id" reports a plugin that does not initialise outside of a core.
    return PVerdict::pass(result == eIxlaOk
                              ? "initialises in " + _seconds(taken.count())
                              : "not measured, init returned " + ixlaResultText(result));
}
