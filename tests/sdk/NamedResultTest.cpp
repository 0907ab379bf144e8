// SPDX-License-Identifier: MIT
#include "helpers/PNamedResult.h"

#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

namespace
{
TEST(NamedResultTest, SuccessHasNoName)
{
    EXPECT_EQ(eIxlaOk, PNamedResult().code());
    EXPECT_EQ(0u, PNamedResult(eIxlaOk, L"step").name().len());
}

TEST(NamedResultTest, TextHasNameNoteCodeAndMeaning)
{
    const PNamedResult result(eIxlaNotFound, L"größe", L" in test.id");
    EXPECT_EQ("größe in test.id: -504 (eIxlaNotFound: no such key, attribute, value or "
              "registration)",
              result.text());
}

TEST(NamedResultTest, WithoutMemoryTheCodeStays)
{
    AllocationFaults::failAfter(0, AllocationFaults::eAll);
    const PNamedResult result(-42, L"a name that needs memory", L"a note that needs memory");
    const int logged = result.logged(L"place");
    AllocationFaults::disarm();
    EXPECT_EQ(-42, result.code());
    EXPECT_EQ(-42, logged);
    EXPECT_EQ(0u, result.name().len());
}

TEST(NamedResultTest, LogsAFailureAndReturnsItsCode)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    EXPECT_EQ(0, PNamedResult().logged(L"place"));
    EXPECT_EQ(-42, PNamedResult(-42, L"100 % step").logged(L"place"));
    EXPECT_EQ(0, core.stop());
    EXPECT_EQ(1, countLines(core.pluginLogFile(), "E pgs [place]"));
    EXPECT_EQ(1, countLines(core.pluginLogFile(), "E pgs [place] 100 % step: -42 ("));
}

TEST(NamedResultTest, WithoutACoreItLogsNothing)
{
    EXPECT_EQ(-42, PNamedResult(-42, L"step").logged(L"place"));
}
} // namespace
