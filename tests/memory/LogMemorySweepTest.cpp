// SPDX-License-Identifier: MIT
// Sweeps of the operations of the logging library.

#include "logger/LogTest.h"
#include "support/AllocationSweep.h"

#include <cerrno>

using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace
{
class LogMemorySweep : public LogTest
{
protected:
    /// A line whose text, or whose format, is too long for any buffer on the stack. The next line
    /// frees its memory.
    void sweepLine(const std::string& iOperation,
                   const std::function<int(const wchar_t*, const wchar_t*)>& iRun)
    {
        const PString text = wide(filler(5000));
        const PString format = wide(filler(5000) + "%ls");
        sweepAllocations({.operation = iOperation,
                          .run = [&] { return iRun(L"%ls", text.ptr()); },
                          .undo = [&] { info("a"); },
                          .codes = {-ENOMEM}});
        sweepAllocations({.operation = iOperation + " with a long format",
                          .run = [&] { return iRun(format.ptr(), L""); },
                          .undo = [&] { info("a"); },
                          .codes = {-ENOMEM}});
        const std::string whole = filler(5000);
        EXPECT_THAT(texts(), Each(AnyOf("a", whole, HasSubstr("Lost lines"))));
        EXPECT_THAT(texts(), IsSupersetOf({whole, lossReport(1, -ENOMEM)}));
    }
};
} // namespace

TEST_F(LogMemorySweep, Opening)
{
    const PString path = dir.wideFile("a/b/test.log");
    sweepAllocations(
        {.operation = "PLogger::init",
         .before = [&] { logger = std::make_unique<PLogger>(); },
         .run = [&]
         { return logger->init(path, L"a longer tag than fits inside", false, 0, 0, 0, true); },
         .unchanged = [&] { EXPECT_EQ(0, info("nowhere")); },
         .done = [&] { EXPECT_EQ(0, info("here")); },
         .undo = [&] { logger.reset(); },
         .codes = {-ENOMEM}});
    EXPECT_EQ(0, countLines(dir.file("a/b/test.log"), "nowhere"));
}

TEST_F(LogMemorySweep, Lines)
{
    init();
    sweepLine("PLogger::info", [&](const wchar_t* iFormat, const wchar_t* iText)
              { return PLogger::info(logger.get(), 0, iFormat, iText); });
    sweepLine("PLogger::error", [&](const wchar_t* iFormat, const wchar_t* iText)
              { return PLogger::error(logger.get(), 0, iFormat, iText); });
    sweepLine("PLogger::debug", [&](const wchar_t* iFormat, const wchar_t* iText)
              { return PLogger::debug(logger.get(), 0, iFormat, iText); });
}

TEST_F(LogMemorySweep, RotatedLines)
{
    init({.maxSize = 1, .parts = 3});
    sweepAllocations({.operation = "PLogger::info with a rotation",
                      .run = [&] { return PLogger::info(logger.get(), 0, L"a"); },
                      .codes = {-ENOMEM}});
}

TEST_F(LogMemorySweep, Dumps)
{
    init();
    const std::string bytes = filler(5000);
    sweepAllocations(
        {.operation = "PLogger::dumpHex",
         .run = [&] { return PLogger::dumpHex(logger.get(), 0, bytes.data(), 5000, 5000); },
         .undo = [&] { info("a"); },
         .codes = {-ENOMEM}});
    EXPECT_THAT(texts(), Contains(lossReport(1, -ENOMEM)));
}

TEST_F(LogMemorySweep, Settings)
{
    init();
    sweepAllocations({
        .operation = "PLogger::setLevel",
        .run = [&] { return logger->setLevel(1); },
    });
    sweepAllocations({
        .operation = "PLogger::setPrintOnConsole",
        .run = [&] { return logger->setPrintOnConsole(false); },
    });
}
