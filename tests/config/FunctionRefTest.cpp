// SPDX-License-Identifier: MIT
#include "config/PFunctionRef.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
int callTwice(const PFunctionRef<int()>& iFunction)
{
    return iFunction() + iFunction();
}
} // namespace

TEST(FunctionRef, CallsItsObject)
{
    int calls = 0;

    EXPECT_EQ(callTwice([&] { return ++calls; }), 3);
    EXPECT_EQ(calls, 2);
}

TEST(FunctionRef, PassesReferencesToTheCallersObjects)
{
    std::string text = "a";
    const auto append = [](std::string& ioText, unsigned int iCount)
    {
        ioText.append(iCount, 'b');
    };
    const PFunctionRef<void(std::string&, unsigned int)> function(append);

    function(text, 2);

    EXPECT_EQ(text, "abb");
}

TEST(FunctionRef, ConvertsTheResult)
{
    enum EResult
    {
        eSeven = 7
    };

    EXPECT_EQ(callTwice([] { return eSeven; }), 14);
}
