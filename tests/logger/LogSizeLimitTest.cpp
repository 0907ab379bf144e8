// SPDX-License-Identifier: MIT
// Logs of a process with a file size limit. The signal that comes with the limit would end the
// test.
#include "logger/FakeClock.h"
#include "logger/LogTest.h"
#include "portinglayer/PExport.h"
#include "support/FileFaults.h"

#include <cerrno>
#include <csignal>
#include <fstream>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using testing::ElementsAre;

namespace
{
constexpr long long kSecond = 1000000000;
constexpr rlim64_t kNone = RLIM64_INFINITY;

rlim64_t sLimit = kNone; ///< that the product sees; the environment may have a limit of its own
int sQuestions = 0;

class LogSizeLimit : public LogTest
{
protected:
    LogSizeLimit()
    {
        FakeClock::show(kSecond);
    }

    ~LogSizeLimit() override
    {
        FileFaults::disarm();
        limit(kNone);
        FakeClock::showReal();
    }

    static void limit(rlim64_t iSize)
    {
        rlimit64 limits{};
        getrlimit64(RLIMIT_FSIZE, &limits);
        limits.rlim_cur = iSize == kNone ? limits.rlim_max : iSize;
        ASSERT_EQ(0, setrlimit64(RLIMIT_FSIZE, &limits));
        sLimit = iSize;
    }

    /// Writes lines until one fails with the code of a file that is too large; returns the number
    /// of those before.
    std::size_t writeUntilTooLarge()
    {
        std::size_t written = 0;
        int result = 0;
        for (; written < 100; ++written)
        {
            result = info(std::to_string(written));
            if (result != 0)
            {
                break;
            }
        }
        EXPECT_EQ(-EFBIG, result);
        return written;
    }
};
} // namespace

// Replaces the C library's function.
extern "C" IXLA_EXPORT int readLimit(int iResource, rlimit64* oLimit) noexcept
    __asm__("getrlimit64");
extern "C" int readLimit(int iResource, rlimit64* oLimit) noexcept
{
    static auto* const real =
        reinterpret_cast<int (*)(int, rlimit64*)>(dlsym(RTLD_NEXT, "getrlimit64"));
    const int result = real(iResource, oLimit);
    if (iResource == RLIMIT_FSIZE)
    {
        ++sQuestions;
        oLimit->rlim_cur = sLimit;
    }
    return result;
}

TEST_F(LogSizeLimit, ThatExistsBeforeTheOpeningNeitherEndsTheProcessNorSplitsLines)
{
    limit(1000);
    init();

    const std::size_t written = writeUntilTooLarge();
    EXPECT_LT(0u, written);
    EXPECT_EQ(written, lines().size());

    limit(kNone);
    EXPECT_EQ(0, info("a"));
    EXPECT_EQ("a", texts().back());
    EXPECT_EQ(lossReport(1, -EFBIG), texts()[texts().size() - 2]);
}

TEST_F(LogSizeLimit, ThatOtherWritersReachDoesNotEndTheProcess)
{
    limit(10000);
    init();
    info("a");
    std::ofstream(dir.file("test.log"), std::ios::app) << filler(9500) << '\n';

    EXPECT_LT(0u, writeUntilTooLarge());
}

TEST_F(LogSizeLimit, ThatASecondLoggerReachesDoesNotEndTheProcess)
{
    limit(1000);
    init();
    PLogger second;
    init(second, {});
    info("a");

    while (PLogger::info(&second, 0, L"b") == 0)
    {
    }

    EXPECT_EQ(-EFBIG, info(filler(100)));
}

TEST_F(LogSizeLimit, BeyondFourGigabytesDoesNotEndTheProcess)
{
    constexpr long long kSize = 5LL << 30;
    dir.write("test.log", "");
    ASSERT_EQ(0, truncate64(dir.file("test.log").c_str(), kSize));
    limit(kSize + 10);
    init();

    EXPECT_EQ(-EFBIG, info("lost"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesFromTheNextSecondOn)
{
    init();
    info("a");
    limit(1);

    FakeClock::show(kSecond + 1);

    EXPECT_EQ(-EFBIG, info("lost"));
    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesAfterTheClockWasSetBack)
{
    init();
    info("a");
    limit(1);

    FakeClock::show(kSecond - 3600);

    EXPECT_EQ(-EFBIG, info("lost"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesToADumpFromTheNextSecondOn)
{
    init();
    info("a");
    limit(1);

    FakeClock::show(kSecond + 1);

    EXPECT_EQ(-EFBIG, PLogger::dumpHex(logger.get(), 0, "abc", 3, 1));
}

TEST_F(LogSizeLimit, ThatIsLoweredBetweenOpeningAndFirstLineApplies)
{
    dir.write("test.log", "before\n");
    init();
    limit(1);

    EXPECT_EQ(-EFBIG, info("lost"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesToAFileThatIsOpenedAgain)
{
    init();
    info("a");
    limit(1);
    close(handleOf());
    EXPECT_EQ(-EBADF, info("lost"));

    EXPECT_EQ(-EFBIG, info("lost too"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesToTheFileAfterARotation)
{
    init({.parts = 1, .maxCount = 1});
    info("a");
    limit(1);

    EXPECT_EQ(-EFBIG, info("lost"));
    EXPECT_THAT(texts("test.log.1"), ElementsAre("a"));
}

TEST_F(LogSizeLimit, ThatIsLoweredAppliesToAFileThatWasEmptied)
{
    init({.maxCount = 1});
    info("a");
    limit(1);

    EXPECT_EQ(-EFBIG, info("lost"));
}

TEST_F(LogSizeLimit, ThatIsLoweredWhileALineWaitsForItsTurnApplies)
{
    init({.maxCount = 100});
    info("a");
    FileFaults::lock.arm(EWOULDBLOCK);
    FileFaults::lock.onStrike([] { limit(1); });

    EXPECT_EQ(-EFBIG, info("lost"));
}

TEST_F(LogSizeLimit, ThatIsRaisedAppliesToTheNextLine)
{
    limit(1);
    init();
    EXPECT_EQ(-EFBIG, info("lost"));

    limit(kNone);

    EXPECT_EQ(0, info("a"));
    EXPECT_THAT(texts(), ElementsAre(lossReport(1, -EFBIG), "a"));
}

TEST_F(LogSizeLimit, IsReadOncePerSecond)
{
    init();
    info("a");
    sQuestions = 0;

    info("b");
    PLogger::dumpHex(logger.get(), 0, "abc", 3, 1);
    EXPECT_EQ(0, sQuestions);

    FakeClock::show(kSecond + 1);
    info("c");
    info("d");
    EXPECT_EQ(1, sQuestions);
}

TEST_F(LogSizeLimit, LeavesNoSignalPending)
{
    limit(1);
    init();

    info("lost");

    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGXFSZ));
}

TEST_F(LogSizeLimit, SignalThatWaitedBeforeStaysPending)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    raise(SIGXFSZ);
    limit(1);
    init();

    EXPECT_EQ(-EFBIG, info("lost"));

    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(1, sigismember(&pending, SIGXFSZ));
}
