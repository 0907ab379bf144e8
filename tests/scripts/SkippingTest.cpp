// SPDX-License-Identifier: MIT
// A test that skips itself, for the output of a skipped test.

#include <gtest/gtest.h>

TEST(Skipping, TellsWhy)
{
    GTEST_SKIP() << "no disk can be mounted: Operation not permitted";
}
