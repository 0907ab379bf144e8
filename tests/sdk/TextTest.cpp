// SPDX-License-Identifier: MIT
#include "helpers/Text.h"

#include <gtest/gtest.h>

namespace
{
TEST(TextTest, ConvertsTextAndBytesBothWays)
{
    for (const char* text : {"", "plain",
                             ("Gr\xC3\xBC\xC3\x9F"
                              "e"),
                             "\xE2\x82\xAC 5", "\xFF\xFE"})
    {
        EXPECT_EQ(text, ixlaNarrow(ixlaWide(text)));
    }
}

TEST(TextTest, DecodesUtf8)
{
    EXPECT_TRUE(ixlaWide("5 \xE2\x82\xAC") == L"5 \x20AC");
    EXPECT_EQ("5 \xE2\x82\xAC", ixlaNarrow(L"5 \x20AC"));
}
} // namespace
