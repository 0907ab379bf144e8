// SPDX-License-Identifier: MIT
// LoggedDispatcher: a dispatcher of its own that writes to the plugins' log of a real core.
#ifndef IXLAL_TESTS_LOGGEDDISPATCHER_H
#define IXLAL_TESTS_LOGGEDDISPATCHER_H

#include "ILogger.h"
#include "events/PEventDispatcher.h"
#include "events/TestListener.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

/// The core has a dispatcher too, which writes to the same log; topics and addresses tell the two
/// apart.
class LoggedDispatcher : public testing::Test
{
protected:
    /// Starts the core with iLevel as the level of the plugins' log.
    void start(int iLevel);

    /// Makes the dispatcher under test; the core must be started.
    void make();

    /// From now on only errors are written.
    void logErrorsOnly();

    /// How many lines of the plugins' log hold iText.
    int count(const std::string& iText) const;

    /// How the log shows an address.
    static std::string shown(const void* iAddress);

    CoreRun core;
    Journal journal;
    PBaseptr<PEventDispatcher> dispatcher;
};

#endif
