// SPDX-License-Identifier: MIT
#include "helpers/Reported.h"

#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
/// The result of a function that throws TProblem.
template <class TProblem>
int _resultOf(const TProblem& iProblem)
{
    return ixlaReported(
        L"place", [&]() -> int { throw iProblem; }, -77);
}

TEST(ReportedTest, PassesTheResultOn)
{
    EXPECT_EQ(-5, ixlaReported(
                      L"place", [] { return -5; }, -77));
}

TEST(ReportedTest, TurnsExceptionsIntoCodes)
{
    EXPECT_EQ(eIxlaNoMemory, _resultOf(std::bad_alloc()));
    EXPECT_EQ(-77, _resultOf(std::runtime_error("why")));
    EXPECT_EQ(-77, _resultOf(1));
}

TEST(ReportedTest, WritesThemToThePluginsLog)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    _resultOf(std::bad_alloc());
    _resultOf(std::runtime_error("100 % why"));
    _resultOf(1);
    for (const char* text : {"std::bad_alloc", "100 % why", "not a std::exception"})
    {
        EXPECT_EQ(
            1, countLines(core.pluginLogFile(), std::string("E pgs [place] Exception: ") + text));
    }
}
} // namespace
