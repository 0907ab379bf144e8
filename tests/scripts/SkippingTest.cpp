// SPDX-License-Identifier: MIT
// What a test prints that cannot run where it is.

#include <gtest/gtest.h>

TEST(Skipping, TellsWhy)
{
    GTEST_SKIP() << "no disk can be mounted: Operation not permitted";
}
