// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "support/Texts.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <functional>
#include <thread>

namespace
{
constexpr int kRounds = 2000;

/// Runs each function on its own thread, all starting at once, and waits for them.
void runTogether(const std::vector<std::function<void()>>& iWorks)
{
    std::barrier start(static_cast<std::ptrdiff_t>(iWorks.size()));
    std::vector<std::thread> threads;
    threads.reserve(iWorks.size());
    for (const std::function<void()>& work : iWorks)
    {
        threads.emplace_back(
            [&start, work]
            {
                start.arrive_and_wait();
                work();
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

bool isWhole(const PString& iText)
{
    return std::all_of(iText.ptr(), iText.ptr() + iText.len(),
                       [&](wchar_t iChar) { return iChar == *iText.ptr(); });
}

typedef ConfigTest ConfigThreads;
typedef ConfigEventsTest ConfigEventThreads;
} // namespace

TEST_F(ConfigThreads, ReadersGetWholeTextsWhileTheKeyIsSetAndRemoved)
{
    const PBaseptr<IConfig> config = loadID("net", "k = f");
    std::atomic<bool> done{false};
    const PString texts[2] = {PString(std::wstring(300, L'a').c_str()),
                              PString(std::wstring(40, L'b').c_str())};
    const auto write = [&]
    {
        for (int i = 0; i < kRounds; ++i)
        {
            EXPECT_EQ(manager.setString(L"net", L"k", texts[i % 2]), 0);
            EXPECT_EQ(manager.setAttrString(L"net", L"k", L"a", texts[i % 2]), 0);
            EXPECT_EQ(manager.removeSetAttr(L"net", L"k", L"a"), 0);
            EXPECT_EQ(manager.removeSetKey(L"net", L"k"), 0);
        }
        done = true;
    };
    const auto read = [&]
    {
        PString text;
        while (!done)
        {
            EXPECT_EQ(config->getString(L"k", text), 0);
            EXPECT_TRUE(isWhole(text));
            const int result = config->getAttrString(L"k", L"a", text);
            EXPECT_TRUE(result == 0 || result == -504) << result;
            EXPECT_TRUE(isWhole(text));
        }
    };
    runTogether({write, read, read});
}

TEST_F(ConfigThreads, ReadersGetWholeTextsWhileTheStoredKeyIsRemoved)
{
    const PBaseptr<IConfig> config = loadID("net", "k = f");
    for (int i = 0; i < 100; ++i)
    {
        store("net", "k" + std::to_string(i), std::string(50, 's'));
    }
    std::atomic<bool> done{false};
    const auto remove = [&]
    {
        for (int i = 0; i < 100; ++i)
        {
            EXPECT_EQ(manager.removeStoredKey(L"net", wide("k" + std::to_string(i))), 0);
        }
        done = true;
    };
    const auto read = [&]
    {
        PString text;
        for (int i = 0; !done; i = (i + 1) % 100)
        {
            const int result = config->getString(wide("k" + std::to_string(i)), text);
            EXPECT_TRUE(result == 0 || result == -504) << result;
            EXPECT_TRUE(isWhole(text));
        }
    };
    runTogether({remove, read, read});
}

TEST_F(ConfigThreads, ReadersShareTheCacheOfPins)
{
    const PBaseptr<IConfig> own = byFile("k = 1\nk:const = true");
    const PBaseptr<IConfig> net = loadID("net", "k = 1\nk:const = true");
    store("net", "stored", "1");
    storeAttr("net", "stored", "const", "true");
    set("net", "k", "2");
    set("net", "stored", "2");
    const auto read = [&]
    {
        for (int i = 0; i < kRounds; ++i)
        {
            int value = 0;
            EXPECT_EQ(own->getInt32(L"k", value), 0);
            EXPECT_EQ(value, 1);
            EXPECT_EQ(net->getInt32(L"k", value), 0);
            EXPECT_EQ(value, 1);
            EXPECT_EQ(net->getInt32(L"stored", value), 0);
            EXPECT_EQ(value, 1);
        }
    };
    runTogether({read, read, read});
}

TEST_F(ConfigThreads, LoadsStoresAndListingsDoNotAffectEachOther)
{
    mapIDs("net = net.prs");
    dir.write("net.prs", "k = 1");
    byID("net");
    constexpr int rounds = 50;
    const auto load = [&]
    {
        for (int i = 0; i < rounds; ++i)
        {
            PBaseptr<IConfig> config;
            int value = 0;
            EXPECT_EQ(manager.loadByID(L"net", config), 0);
            EXPECT_EQ(config->getInt32(L"k", value), 0);
        }
    };
    const auto keep = [&]
    {
        for (int i = 0; i < rounds; ++i)
        {
            EXPECT_EQ(manager.storeInt32(L"other", L"k", i), 0);
            EXPECT_EQ(manager.storeAttrInt32(L"other", L"k", L"a", i), 0);
            EXPECT_EQ(manager.removeStoredKey(L"other", L"k"), 0);
        }
    };
    const auto list = [&]
    {
        for (int i = 0; i < rounds; ++i)
        {
            std::vector<PString> ids;
            EXPECT_EQ(manager.listIDs(ids), 0);
            EXPECT_FALSE(ids.empty());
        }
    };
    runTogether({load, keep, list});
    EXPECT_EQ(storeText(), "");
}

TEST_F(ConfigEventThreads, ListenersCallBackIntoTheManagerOnEveryThread)
{
    announce(L"A", L"T");
    listen(L"T");
    std::atomic<int> seen{0};
    recorder->onEvent = [&](IConfigChanged& iChange)
    {
        ++seen;
        PString key;
        EXPECT_EQ(iChange.getKey(key), 0);
        EXPECT_EQ(manager->setString(L"B", key, L"2"), 0);
        EXPECT_EQ(manager->removeSetKey(L"B", key), 0);
        const int added = manager->addListener(L"B", L"U");
        EXPECT_TRUE(added == 0 || added == -512) << added;
        const int removed = manager->removeListener(L"B", L"U");
        EXPECT_TRUE(removed == 0 || removed == -504) << removed;
    };
    constexpr int rounds = 200;
    const auto write = [&]
    {
        for (int i = 0; i < rounds; ++i)
        {
            EXPECT_EQ(manager->setInt32(L"A", L"k", i), 0);
            EXPECT_EQ(manager->setAttrInt32(L"A", L"k", L"a", i), 0);
        }
    };
    runTogether({write, write, write});

    EXPECT_EQ(seen, 3 * 2 * rounds);
}

TEST_F(ConfigEventThreads, FirstLoadsFetchTheLoggerTogether)
{
    constexpr int threads = 4;
    const PBaseptr<IConfigManager> own(new PConfigManager);
    PConfigManager& implementation = static_cast<PConfigManager&>(*own);
    ASSERT_EQ(own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir",
                             core.dir.wideFile("config")),
              0);
    const auto load = [&]
    {
        PBaseptr<IConfig> config;
        EXPECT_EQ(implementation.loadByID(L"fresh", config), 0);
    };
    runTogether(std::vector<std::function<void()>>(threads, load));
    implementation.cleanup();

    EXPECT_EQ(countLines(core.pluginLogFile(), "No config for iID(fresh)"), threads);
}
