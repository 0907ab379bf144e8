// SPDX-License-Identifier: MIT
#include "headers/SlotWalk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

TEST(Slots, OfBase)
{
    EXPECT_THAT(walkBase(), testing::IsEmpty());
}

TEST(Slots, OfPlugin)
{
    EXPECT_THAT(walkPlugin(), testing::IsEmpty());
}

TEST(Slots, OfConfig)
{
    EXPECT_THAT(walkConfig(), testing::IsEmpty());
}

TEST(Slots, OfConfigManager)
{
    EXPECT_THAT(walkConfigManager(), testing::IsEmpty());
}

TEST(Slots, OfConfigChanged)
{
    EXPECT_THAT(walkConfigChanged(), testing::IsEmpty());
}

TEST(Slots, OfEventDispatcher)
{
    EXPECT_THAT(walkEventDispatcher(), testing::IsEmpty());
}

TEST(Slots, OfEventListener)
{
    EXPECT_THAT(walkEventListener(), testing::IsEmpty());
}

TEST(Slots, OfLogger)
{
    EXPECT_THAT(walkLogger(), testing::IsEmpty());
}
