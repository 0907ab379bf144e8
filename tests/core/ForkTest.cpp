// SPDX-License-Identifier: MIT
#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "logger/PLogger.h"
#include "portinglayer/PExport.h"
#include "portinglayer/PMutex.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
/// A child's search for leaks would wait for ever for the loader's lock if another thread of the
/// parent held it during the fork.
static const pid_t sTestProcess = getpid();

extern "C" IXLA_EXPORT int __lsan_is_turned_off();

int __lsan_is_turned_off()
{
    return getpid() != sTestProcess;
}
#endif

#ifdef __SANITIZE_THREAD__
/// A child that exits would sleep for a second, so that its other threads go on; it has none.
extern "C" IXLA_EXPORT const char* __tsan_default_options();

const char* __tsan_default_options()
{
    return "atexit_sleep_ms=0";
}
#endif

namespace
{
/// Counts its references only; it gets no events in a child.
class Listener : public IEventListener
{
public:
    int incRef() override
    {
        return ++fCount;
    }

    int decRef() override
    {
        return --fCount;
    }

    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return 0;
    }

private:
    std::atomic<int> fCount{1};
};

/// A core whose services are used by threads while the process forks.
class Fork : public testing::Test
{
protected:
    static constexpr int kThreads = 4;
    static constexpr int kChildren = 40;

    void start()
    {
        fCore.writeManagerConfig("net = net.prs");
        fCore.writeConfig("net.prs", "own = 1\nown:unit = s\nport = 80\n");
        fCore.writeConfig("store.txt", "net|port = 90\n");
        ASSERT_EQ(0, fCore.start());
        fManager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        ASSERT_EQ(0, fManager->loadByID(L"net", fConfig));
        ASSERT_EQ(0, fCore.get<ILogger>(kIxlaLoggerId)->getLogger(L"own.log", fLogger));
        ASSERT_EQ(0, fOwn.init(fCore.dir.wideFile("direct.log"), L"tag", false, 0, 0, 0, true));
    }

    /// Uses every object with a lock, until the children have ended.
    void use()
    {
        while (!fDone)
        {
            fLogger->info(0, L"line %d", ++fLines);
            PLogger::info(&fOwn, 0, L"direct");
            fManager->setString(L"net", L"speed", L"fast");
            fDispatcher->send(L"topic", nullptr, 0);
            IBase* instance = nullptr;
            ixlaGetInstance(L"test.alpha", instance);
        }
    }

    /// The number of the first call with a wrong result in a child; 0 for none.
    int callAll()
    {
        IBase* instance = nullptr;
        const PString argument(L"a=b");
        PBaseptr<IConfig> config;
        PBaseptr<ILogger> logger;
        fLogger->info(0, L"child");
        fLogger->error(0, L"child");
        const int calls[][2] = {
            {ixlaGetInstance(L"test.alpha", instance), -1002},
            {ixlaIsInterfaceAvailable(L"test.alpha"), 0},
            {ixlaUnloadPlugin(nullptr), -1002},
            {ixlaStart(&argument, 1), -1001},
            {ixlaStop(), -1002},
            {PLogger::info(&fOwn, 0, L"child"), -EOWNERDEAD},
            {PLogger::dumpHex(&fOwn, 0, "child", 5, 16), -EOWNERDEAD},
            {fLogger->dumpHex(0, "child", 5, 16), -EOWNERDEAD},
            {fLogger->getLogger(L"new.log", logger), -EOWNERDEAD},
            {fManager->loadByID(L"net", config), -EOWNERDEAD},
            {fManager->setString(L"net", L"speed", L"slow"), -EOWNERDEAD},
            {fManager->storeString(L"net", L"port", L"1"), -EOWNERDEAD},
            {fDispatcher->addListener(L"other", &fListener), -EOWNERDEAD},
            {fDispatcher->removeListener(L"other", &fListener), -EOWNERDEAD},
            {fDispatcher->send(L"topic", nullptr, 0), -EOWNERDEAD},
        };
        int number = 0;
        for (const auto& [got, wanted] : calls)
        {
            ++number;
            if (got != wanted)
            {
                std::fprintf(stderr, "call %d: %d instead of %d\n", number, got, wanted);
                return number;
            }
        }
        return 0;
    }

    /// The exit code of a child; -1 if it does not end within ten seconds.
    static int statusOf(pid_t iChild)
    {
        int status = -1;
        for (int i = 0; i < 10000 && waitpid(iChild, &status, WNOHANG) == 0; ++i)
        {
            usleep(1000);
            status = -1;
        }
        if (status == -1)
        {
            kill(iChild, SIGKILL);
            waitpid(iChild, nullptr, 0);
        }
        return status;
    }

    /// Forks while other threads are inside all calls; iEnd ends the child.
    template <class TEnd>
    void forkOften(const TEnd& iEnd)
    {
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back([this] { use(); });
        }
        for (int i = 0; i < kChildren; ++i)
        {
            std::fflush(nullptr);
            const pid_t child = fork();
            if (child == 0)
            {
                iEnd(callAll());
            }
            EXPECT_EQ(0, statusOf(child)) << "child " << i;
        }
        fDone = true;
    }

    std::string valueOf(const wchar_t* iKey)
    {
        PString value;
        const int result = fConfig->getString(iKey, value);
        return result == 0 ? narrow(value) : std::to_string(result);
    }

    /// Whether every line of the file has this process's number.
    static int foreignLines(const std::string& iPath)
    {
        const std::string own = " " + std::to_string(getpid()) + ":";
        int foreign = 0;
        for (const std::string& line : readLines(iPath))
        {
            foreign += line.find(own) != 23;
        }
        return foreign;
    }

    CoreRun fCore;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IConfig> fConfig;
    PBaseptr<ILogger> fLogger;
    PLogger fOwn;
    Listener fListener;
    std::atomic<int> fLines{0};
    std::atomic<bool> fDone{false};
};
} // namespace

TEST_F(Fork, ChildIsRefusedAtOnceAndDoesNotChangeFiles)
{
    fCore.addPlugin("alpha");
    start();

    forkOften([](int iWrong) { _exit(iWrong); });

    EXPECT_EQ(fLines, countLines(fCore.pluginLogFile("own.log"), ""));
    for (const std::string& log : {fCore.logFile(), fCore.pluginLogFile(),
                                   fCore.pluginLogFile("own.log"), fCore.dir.file("direct.log")})
    {
        EXPECT_EQ(0, foreignLines(log)) << log;
    }
    EXPECT_EQ("net|port = 90\n", fCore.dir.read("config/store.txt"));
}

TEST_F(Fork, ChildMayReleaseInheritedObjects)
{
    start();

    forkOften(
        [this](int iWrong)
        {
            fConfig.clear();
            fLogger.clear();
            fDispatcher.clear();
            fManager.clear();
            _exit(iWrong);
        });
}

TEST_F(Fork, ChildReadsOwnValuesOfAnInheritedConfiguration)
{
    start();
    ASSERT_EQ(0, fManager->setString(L"net", L"own", L"2"));
    ASSERT_EQ(0, fManager->setString(L"net", L"speed", L"fast"));
    EXPECT_EQ("2 90 fast", valueOf(L"own") + " " + valueOf(L"port") + " " + valueOf(L"speed"));

    forkOften(
        [this](int)
        {
            PString unit;
            const bool readsOwn = valueOf(L"own") == "1" && valueOf(L"port") == "80" &&
                                  valueOf(L"speed") == std::to_string(eIxlaNotFound) &&
                                  fConfig->getAttrString(L"own", L"unit", unit) == 0 &&
                                  unit == L"s";
            _exit(readsOwn ? 0 : 1);
        });
}

// Without the plugin, whose own destructor of a static object takes a lock.
TEST_F(Fork, ChildMayExit)
{
    start();

    // NOLINTNEXTLINE(concurrency-mt-unsafe): a child has one thread
    forkOften([](int iWrong) { std::exit(iWrong); });
}

TEST_F(Fork, ParentContinuesAndStops)
{
    fCore.addPlugin("alpha");
    start();
    forkOften([](int iWrong) { _exit(iWrong); });

    IBase* instance = nullptr;
    EXPECT_EQ(0, ixlaGetInstance(L"test.alpha", instance));
    EXPECT_GT(PluginHooks::count("alpha.init"), 0);
    fConfig.clear();
    fLogger.clear();
    fDispatcher.clear();
    fManager.clear();
    EXPECT_EQ(0, fCore.stop());
}

TEST_F(Fork, ChildOfAProcessWithoutACoreStartsItsOwn)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, fCore.stop());
    std::fflush(nullptr);

    const pid_t child = fork();
    if (child == 0)
    {
        const bool runs =
            fCore.start() == 0 && fCore.get<IBase>(kIxlaLoggerId) && fCore.stop() == 0;
        _exit(runs ? 0 : 1);
    }

    EXPECT_EQ(0, statusOf(child));
}

// A leak checker in the last child looks for what the first two started with.
TEST_F(Fork, ChildOfAChildStartsItsOwnAndLosesNothing)
{
    const auto runs = [this]
    {
        return fCore.start() == 0 && fCore.stop() == 0;
    };
    ASSERT_TRUE(runs());
    std::fflush(nullptr);

    const pid_t child = fork();
    if (child == 0)
    {
        const bool own = runs();
        const pid_t grandchild = fork();
        if (grandchild == 0)
        {
            // NOLINTNEXTLINE(concurrency-mt-unsafe): a child has one thread
            std::exit(own && runs() ? 0 : 1);
        }
        _exit(statusOf(grandchild) == 0 ? 0 : 1);
    }

    EXPECT_EQ(0, statusOf(child));
}

TEST_F(Fork, ChildOpensItsOwnMutex)
{
    PMutex mutex;
    mutex.init(true);
    mutex.lock();

    const pid_t child = fork();
    if (child == 0)
    {
        const bool works = mutex.lock() == -EOWNERDEAD && mutex.close() == -EOWNERDEAD &&
                           mutex.init(true) == 0 && mutex.lock() == 0 && mutex.unlock() == 0;
        _exit(works ? 0 : 1);
    }

    EXPECT_EQ(0, statusOf(child));
    EXPECT_EQ(0, mutex.unlock());
}
