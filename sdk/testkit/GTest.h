// SPDX-License-Identifier: MIT
// A fixture and matchers for tests of plugins that are written with GoogleTest.
#ifndef IXLAL_SDK_GTEST_H
#define IXLAL_SDK_GTEST_H

#include "helpers/ResultText.h"
#include "testkit/PTestCore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>

/// Has a core for every test. What cannot be stopped fails the test, and a test that failed shows
/// the error lines of the logs.
class IxlaTest : public testing::Test
{
protected:
    /// Stops the core, and shows the error lines if the test has failed.
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

/// EXPECT_THAT(service->operation(), IsOk()) shows what another result means.
MATCHER(IsOk, negation ? "isn't 0" : "is 0")
{
    *result_listener << "which means " << ixlaResultText(arg);
    return arg == eIxlaOk;
}

/// The same for another result that is expected.
MATCHER_P(IsResult, iCode, (negation ? "isn't " : "is ") + ixlaResultText(iCode))
{
    *result_listener << "which means " << ixlaResultText(arg);
    return arg == iCode;
}

#endif
