// SPDX-License-Identifier: MIT
/// @file
/// A fixture and matchers for GoogleTest tests of plugins.
#ifndef IXLAL_SDK_GTEST_H
#define IXLAL_SDK_GTEST_H

#include "helpers/ResultText.h"
#include "testkit/PTestCore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>

/// Provides a core for each test. A core that does not stop fails the test, and a failed test
/// prints the error lines of the logs.
class IxlaTest : public testing::Test
{
protected:
    /// Stops the core, and prints the error lines if the test has failed.
    void TearDown() override
    {
        fCore.stop();
        if (HasFailure())
        {
            std::cerr << "The errors in the logs of this test:\n" << fCore.errorLines();
        }
    }

    /// Not started yet.
    PTestCore fCore;
};

/// EXPECT_THAT(service->operation(), IsOk()) prints the meaning of any other result.
MATCHER(IsOk, negation ? "isn't 0" : "is 0")
{
    *result_listener << "which means " << ixlaResultText(arg);
    return arg == eIxlaOk;
}

/// Expects the result iCode, and prints the meaning of any other.
MATCHER_P(IsResult, iCode, (negation ? "isn't " : "is ") + ixlaResultText(iCode))
{
    *result_listener << "which means " << ixlaResultText(arg);
    return arg == iCode;
}

#endif
