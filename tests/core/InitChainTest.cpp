// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace
{
class InitChain : public testing::Test
{
protected:
    InitChain()
    {
        for (const char* name : {"alpha", "beta", "gamma"})
        {
            fCore.addPlugin(name);
        }
    }

    ~InitChain() override
    {
        PortFaults::reset();
    }

    static int request(const wchar_t* iId)
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(iId, instance);
    }

    static std::future<int> requestOnThread(const wchar_t* iId)
    {
        return std::async(std::launch::async, [iId] { return request(iId); });
    }

    /// The log's texts after iMarker, oldest first, with the threads of each named A, B, C in the
    /// order of appearance.
    std::vector<std::string> chains(const std::string& iMarker) const
    {
        std::vector<std::string> texts;
        std::ifstream log(fCore.logFile());
        for (std::string line; std::getline(log, line);)
        {
            const std::size_t found = line.find(iMarker);
            if (found != std::string::npos)
            {
                texts.push_back(withNamedThreads(line.substr(found + iMarker.size())));
            }
        }
        return texts;
    }

    /// As above, but waits until there are iCount, at most ten seconds.
    std::vector<std::string> awaitChains(const std::string& iMarker, std::size_t iCount) const
    {
        for (int i = 0; i < 1000 && chains(iMarker).size() < iCount; ++i)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return chains(iMarker);
    }

    /// Whether a chain is logged within ten seconds.
    bool awaitChain(const std::string& iMarker, const std::string& iChain) const
    {
        std::size_t count = 0;
        for (;;)
        {
            const std::vector<std::string> found = awaitChains(iMarker, count + 1);
            if (found.size() == count)
            {
                return false;
            }
            count = found.size();
            if (std::find(found.begin(), found.end(), iChain) != found.end())
            {
                return true;
            }
        }
    }

    /// Waits for the lines of the thread that looks again as after 20 timeouts. A slow machine has
    /// others of real ones.
    std::vector<std::string> firstTwenty() const
    {
        std::vector<std::string> found = awaitChains("] Still waiting: ", 20);
        found.resize(20);
        return found;
    }

    /// Starts the core and two threads that initialise two plugins, each of which requests the
    /// other one. That of iLast waits last, and then looks again as after 20 timeouts. Both are
    /// blocked forever.
    void closeCircle(const std::string& iFirst, const std::string& iLast)
    {
        PluginHooks::on(iFirst + ".init",
                        [iLast]
                        {
                            PluginHooks::waitFor(iLast + ".init");
                            return request(wide("test." + iLast).ptr());
                        });
        PluginHooks::on(iLast + ".init",
                        [this, iFirst]
                        {
                            while (fCore.logCount("] Waiting other thread to init plugin...") == 0)
                            {
                                std::this_thread::yield();
                            }
                            PortFaults::condVarWait.armOnThisThread(-733, 0, 20);
                            return request(wide("test." + iFirst).ptr());
                        });
        ASSERT_EQ(0, fCore.start());
        for (const std::string& plugin : {iFirst, iLast})
        {
            std::thread([plugin] { request(wide("test." + plugin).ptr()); }).detach();
        }
    }

    /// Ends the process, because some of its threads are blocked forever.
    void endProcess()
    {
        std::filesystem::remove_all(fCore.dir.path());
        std::_Exit(HasFailure() ? 1 : 0);
    }

    CoreRun fCore;

private:
    static std::string withNamedThreads(std::string iText)
    {
        const std::regex number("0x[0-9a-f]+");
        std::smatch match;
        for (char name = 'A'; std::regex_search(iText, match, number); ++name)
        {
            iText =
                std::regex_replace(iText, std::regex(match.str() + "\\b"), std::string(1, name));
        }
        return iText;
    }
};

/// Blocks an init until the test releases it.
class HeldInit
{
public:
    explicit HeldInit(const std::string& iPlugin)
    {
        PluginHooks::on(iPlugin + ".init",
                        [mayEnd = fLeave.get_future().share()] { mayEnd.wait(); });
    }

    void release()
    {
        fLeave.set_value();
    }

private:
    std::promise<void> fLeave;
};

TEST_F(InitChain, WaitNamesThePluginAndTheThreadThatInitialisesIt)
{
    ASSERT_EQ(0, fCore.start());
    HeldInit held("alpha");
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    PortFaults::condVarWait.arm(-733, 0, 2);
    std::future<int> second = requestOnThread(L"test.alpha");
    const std::string line = "thread A waits for libalpha.so, which thread B initialises";
    EXPECT_EQ((std::vector<std::string>{line, line}), awaitChains("] Still waiting: ", 2));
    EXPECT_EQ(2, fCore.logCount("I Core [intiPlugin][pg:0x"));
    held.release();
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
    EXPECT_EQ(2u, chains("] Still waiting: ").size());
}

TEST_F(InitChain, WaitUnderFiveSecondsIsNotLogged)
{
    ASSERT_EQ(0, fCore.start());
    HeldInit held("alpha");
    std::future<int> first = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    PortFaults::condVarWait.arm(0, 0, 3);
    std::future<int> second = requestOnThread(L"test.alpha");
    while (PortFaults::condVarWait.hits() < 3)
    {
        std::this_thread::yield();
    }
    held.release();
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
    EXPECT_EQ(0u, chains("] Still waiting: ").size());
}

TEST_F(InitChain, EndedWaitIsNotPartOfALaterChain)
{
    ASSERT_EQ(0, fCore.start());
    std::promise<void> leaveAlpha;
    HeldInit held("beta");
    std::future<void> alphaMayEnd = leaveAlpha.get_future();
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        const int result = request(L"test.beta");
                        alphaMayEnd.wait();
                        return result;
                    });
    std::future<int> beta = requestOnThread(L"test.beta");
    ASSERT_TRUE(PluginHooks::waitFor("beta.init"));
    std::future<int> alpha = requestOnThread(L"test.alpha");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    held.release();
    EXPECT_EQ(0, beta.get());
    ASSERT_TRUE(PluginHooks::waitFor("beta.getInstance", 2));

    PortFaults::condVarWait.arm(-733, 0, 1);
    std::future<int> waiter = requestOnThread(L"test.alpha");
    EXPECT_EQ(
        (std::vector<std::string>{"thread A waits for libalpha.so, which thread B initialises"}),
        awaitChains("] Still waiting: ", 1));
    leaveAlpha.set_value();
    EXPECT_EQ(0, alpha.get());
    EXPECT_EQ(0, waiter.get());
}

TEST_F(InitChain, CircleOfTwoThreadsIsNamedByTheLastOne)
{
    closeCircle("alpha", "beta");
    const std::string line =
        "thread A initialises libbeta.so and waits for libalpha.so, which thread B initialises, "
        "which waits for libbeta.so (circle)";
    EXPECT_EQ(std::vector<std::string>(20, line), firstTwenty());
    EXPECT_LE(20, fCore.logCount("E Core [intiPlugin][pg:0x"));
    endProcess();
}

TEST_F(InitChain, CircleIsNamedByAThreadThatWaitsForAPartOfIt)
{
    closeCircle("beta", "alpha");
    const std::string line =
        "thread A initialises libalpha.so and waits for libbeta.so, which thread B initialises, "
        "which waits for libalpha.so (circle)";
    EXPECT_EQ(std::vector<std::string>(20, line), firstTwenty());
    std::thread(
        []
        {
            PortFaults::condVarWait.armOnThisThread(-733, 0, 1);
            request(L"test.beta");
        })
        .detach();
    EXPECT_TRUE(awaitChain("] Still waiting: ",
                           "thread A waits for libbeta.so, which thread B initialises, which waits "
                           "for libalpha.so, which thread C initialises, which waits for "
                           "libbeta.so (circle)"));
    endProcess();
}

TEST_F(InitChain, LoopOfAPluginWithItselfIsNamed)
{
    ASSERT_EQ(0, fCore.start());
    PluginHooks::on("alpha.init", [] { EXPECT_EQ(-2003, request(L"test.alpha")); });
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ((std::vector<std::string>{
                  "thread A initialises libalpha.so, which asks for libalpha.so (circle)"}),
              chains("] Init loop: "));
    // After the line about the loop.
    EXPECT_EQ(2, fCore.logCount("E Core [intiPlugin][pg:0x"));
}

TEST_F(InitChain, LoopNamesThePluginsBetweenInTheirOrder)
{
    ASSERT_EQ(0, fCore.start());
    PluginHooks::on("gamma.init", [] { return request(L"test.beta"); });
    PluginHooks::on("beta.init", [] { return request(L"test.alpha"); });
    PluginHooks::on("alpha.init",
                    []
                    {
                        EXPECT_EQ(-2003, request(L"test.beta"));
                        EXPECT_EQ(-2003, request(L"test.gamma"));
                    });
    EXPECT_EQ(0, request(L"test.gamma"));
    EXPECT_EQ((std::vector<std::string>{
                  "thread A initialises libbeta.so (inside it: libalpha.so), which asks for "
                  "libbeta.so (circle)",
                  "thread A initialises libgamma.so (inside it: libbeta.so, libalpha.so), which "
                  "asks for libgamma.so (circle)"}),
              chains("] Init loop: "));
}

TEST_F(InitChain, InnerInitialisationsOfBothThreadsAreNamed)
{
    ASSERT_EQ(0, fCore.start());
    HeldInit held("alpha");
    PluginHooks::on("beta.init", [] { return request(L"test.alpha"); });
    PluginHooks::on("gamma.init", [] { return request(L"test.beta"); });
    std::future<int> first = requestOnThread(L"test.beta");
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    PortFaults::condVarWait.arm(-733, 0, 1);
    std::future<int> second = requestOnThread(L"test.gamma");
    EXPECT_EQ(
        (std::vector<std::string>{"thread A initialises libgamma.so and waits for libbeta.so, "
                                  "which thread B initialises (inside it: libalpha.so)"}),
        awaitChains("] Still waiting: ", 1));
    held.release();
    EXPECT_EQ(0, first.get());
    EXPECT_EQ(0, second.get());
}

TEST_F(InitChain, LackOfMemoryOnlyShortensTheLine)
{
    ASSERT_EQ(0, fCore.start());
    int inner = 0;
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        AllocationFaults::failAfter(0);
                        inner = request(L"test.alpha");
                        AllocationFaults::disarm();
                    });
    EXPECT_EQ(0, request(L"test.alpha"));
    EXPECT_EQ(-2003, inner);
    EXPECT_EQ((std::vector<std::string>{"no memory to say for whom"}), chains("] Init loop: "));
}
} // namespace
