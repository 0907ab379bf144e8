// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"
#include "support/AllocationFaults.h"

#include <functional>

using testing::ElementsAre;

namespace
{
class LogMemory : public LogTest
{
protected:
    /// The number of allocations in the second run of iAction.
    static int allocations(const std::function<int()>& iAction)
    {
        iAction();
        AllocationFaults::startCounting();
        iAction();
        return AllocationFaults::counted();
    }
};
} // namespace

TEST_F(LogMemory, LineOfAThousandCharactersAllocatesNothing)
{
    init();
    const PString text = wide(filler(1000));

    EXPECT_EQ(0, allocations([&] { return PLogger::info(logger.get(), 0, L"%ls", text.ptr()); }));

    EXPECT_THAT(texts(), ElementsAre(filler(1000), filler(1000)));
}

TEST_F(LogMemory, RotationAllocatesNothing)
{
    init({.maxSize = 1, .parts = 3});

    EXPECT_EQ(0, allocations([&] { return PLogger::info(logger.get(), 0, L"a"); }));

    EXPECT_TRUE(exists("test.log.1"));
}

TEST_F(LogMemory, FilteredLineAllocatesNothing)
{
    init();

    EXPECT_EQ(0, allocations([&] { return PLogger::debug(logger.get(), 1, L"%5000d", 1); }));
}

TEST_F(LogMemory, DumpAllocatesNothing)
{
    init();

    EXPECT_EQ(0, allocations([&] { return PLogger::dumpHex(logger.get(), 0, "abc", 3, 16); }));
}

TEST_F(LogMemory, LinesOfAFileThatCannotBeOpenedAllocateNothing)
{
    dir.write("logs", "no directory");
    init({.file = "logs/test.log"});

    EXPECT_EQ(0, allocations([&] { return PLogger::info(logger.get(), 0, L"a"); }));
}
