// SPDX-License-Identifier: MIT
// LoggedDispatcher: a separate dispatcher that writes to the plugins' log of a real core.
#ifndef IXLAL_TESTS_LOGGEDDISPATCHER_H
#define IXLAL_TESTS_LOGGEDDISPATCHER_H

#include "ILogger.h"
#include "events/PEventDispatcher.h"
#include "events/TestListener.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

/// The core also has a dispatcher, which writes to the same log; their topics and addresses differ.
class LoggedDispatcher : public testing::Test
{
protected:
    /// Starts the core with iLevel as the level of the plugins' log.
    void start(int iLevel);

    /// Creates the dispatcher under test; the core must be started.
    void make();

    /// From now on only errors are written.
    void logErrorsOnly();

    /// The number of lines of the plugins' log that contain iText.
    int count(const std::string& iText) const;

    /// An address in the form of the log.
    static std::string shown(const void* iAddress);

    CoreRun core;
    Journal journal;
    PBaseptr<PEventDispatcher> dispatcher;
};

#endif
