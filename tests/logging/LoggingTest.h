// SPDX-License-Identifier: MIT
// LoggingTest: the logging service alone, with a configuration of the test.
#ifndef IXLAL_TESTS_LOGGINGTEST_H
#define IXLAL_TESTS_LOGGINGTEST_H

#include "logging/FakeConfig.h"
#include "logging/PLoggerPlugin.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

class LoggingTest : public testing::Test
{
protected:
    LoggingTest();

    /// The logger behind the interface ID, borrowed.
    ILogger* defaultLogger() const;

    PBaseptr<ILogger> get(const std::string& iName) const;

    /// Whether the file is open; only then its logger exists.
    bool isOpen(const std::string& iName) const;

    /// The texts of a file's lines, without the headers.
    std::vector<std::string> texts(const std::string& iName = "ixlaplugins.log") const;

    TempDir dir;
    PBaseptr<PLoggerPlugin> plugin;
};

#endif
