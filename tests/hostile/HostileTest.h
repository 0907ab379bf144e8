// SPDX-License-Identifier: MIT
// HostileTest: a core with misbehaving plugins, which must stay correct.
#ifndef IXLAL_TESTS_HOSTILETEST_H
#define IXLAL_TESTS_HOSTILETEST_H

#include "support/CoreRun.h"
#include "support/PluginHooks.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

class HostileTest : public testing::Test
{
protected:
    /// Starts with one plugin.
    void startWith(const std::string& iPlugin);

    /// The result of a lookup; the core sets oInstance.
    static int request(const std::string& iId, IBase*& oInstance);
    static int request(const std::string& iId);

    /// Stops the core. True when the stop is the same as without a hostile plugin: result 0, all
    /// steps and no error in the core log, and no core afterwards.
    bool stopsCleanly();

    /// Waits until iCondition holds; false after ten seconds.
    static bool waitUntil(const std::function<bool()>& iCondition);

    CoreRun fCore;
};

#endif
