// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"
#include "config/StoreScript.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
// Processes with a sanitizer start slowly, and those in an emulator, as all but Intel's are here.
#if !defined(__i386__) && !defined(__x86_64__)
constexpr int kKillsAtCalls = 60;
constexpr int kKillsAtTimes = 60;
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKillsAtCalls = 200;
constexpr int kKillsAtTimes = 60;
#else
constexpr int kKillsAtCalls = 700;
constexpr int kKillsAtTimes = 300;
#endif
constexpr int kReadyHandle = 9;
constexpr int kMostCalls = 60;
constexpr int kMostMicroseconds = 3000;

enum EState
{
    eOld,
    eNew,
    eAbsent,
    ePartial,
    eOther ///< must never occur
};

/// The state of a store file after an operation that should change iOld to iNew.
EState _judge(const std::string& iOld, const std::string& iNew, bool iExists,
              const std::string& iFound)
{
    if (!iExists)
    {
        return eAbsent;
    }
    if (iFound == iOld || iFound == iNew)
    {
        return iFound == iNew ? eNew : eOld;
    }
    return iNew.compare(0, iFound.size(), iFound) == 0 ? ePartial : eOther;
}

std::string _trimmed(const std::string& iText)
{
    const std::size_t first = iText.find_first_not_of(' ');
    return first == std::string::npos
               ? ""
               : iText.substr(first, iText.find_last_not_of(' ') - first + 1);
}

/// Reads a store's text as the manager does; false if it has a line that the manager refuses.
bool _parse(const std::string& iText, StoreModel& oModel)
{
    std::string text = iText;
    text += text.empty() || text.back() == '\n' ? "" : "\n";
    for (std::size_t from = 0, to = 0; (to = text.find('\n', from)) != std::string::npos;
         from = to + 1)
    {
        const std::string line = text.substr(from, to - from);
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos)
        {
            return false;
        }
        const std::string name = _trimmed(line.substr(0, equals));
        const std::string value = _trimmed(line.substr(equals + 1));
        const std::size_t colon = name.find(':');
        StoreModel::Entry& entry = oModel.entries[name.substr(0, colon)];
        if (colon == std::string::npos)
        {
            entry.value = value;
        }
        else
        {
            entry.attributes.emplace(name.substr(colon + 1), value);
        }
    }
    return true;
}

/// A process that stores values and is killed.
class Victim
{
public:
    Victim(const TempDir& iDir, unsigned int iSeed, int iSkip, int iPermille, bool iInPlace)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        std::vector<std::string> words = {
            IXLAL_STORE_LOOP,         iDir.path().string(),         std::to_string(iSeed),
            iDir.file("progress"),    std::to_string(kReadyHandle), std::to_string(iSkip),
            std::to_string(iPermille)};
        if (iInPlace)
        {
            words.push_back("in-place");
        }
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words)
        {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], kReadyHandle);
        EXPECT_EQ(
            posix_spawn(&fProcess, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        fReady = ends[0];
    }

    ~Victim()
    {
        close(fReady);
    }

    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;

    /// Waits until the process is about to start its first operation.
    bool isReady() const
    {
        char byte = 0;
        return read(fReady, &byte, 1) == 1;
    }

    void kill() const
    {
        ::kill(fProcess, SIGKILL);
    }

    /// Whether SIGKILL has ended the process.
    bool wasKilled() const
    {
        int status = 0;
        return waitpid(fProcess, &status, 0) == fProcess && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL;
    }

private:
    pid_t fProcess = -1;
    int fReady = -1;
};

/// What a host does to lose at most the values of its last run when it is killed.
class HostGuard
{
public:
    HostGuard(std::string iStore, std::string iCopy)
        : fStore(std::move(iStore)), fCopy(std::move(iCopy))
    {
    }

    /// Before the core is started: copies a complete store, and replaces an incomplete one by the
    /// copy.
    void beforeStart() const
    {
        if (isWhole(fStore))
        {
            replace(fCopy, fStore);
        }
        else if (fs::exists(fCopy))
        {
            replace(fStore, fCopy);
        }
    }

private:
    static bool isWhole(const std::string& iPath)
    {
        const std::vector<std::string> lines = readLines(iPath);
        return !lines.empty() && lines.back() == StoreModel::kMark;
    }

    /// Renaming is atomic, so that the file is never incomplete.
    static void replace(const std::string& iTarget, const std::string& iSource)
    {
        const std::string fresh = iTarget + ".new";
        fs::copy_file(iSource, fresh, fs::copy_options::overwrite_existing);
        fs::rename(fresh, iTarget);
    }

    const std::string fStore;
    const std::string fCopy;
};

class StoreKill : public testing::Test
{
protected:
    StoreKill()
        : fSeed(chosenSeed()), fRandom(fSeed), fGuard(dir.file("store.txt"), dir.file("store.copy"))
    {
        prepare(dir);
        reset();
        dir.write("progress", std::string(sizeof(StoreProgress), '\0'));
        const int file = open(dir.file("progress").c_str(), O_RDWR);
        fProgress = static_cast<StoreProgress*>(
            mmap(nullptr, sizeof(StoreProgress), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        close(file);
        std::printf("[   SEED   ] IXLAL_STORE_SEED=%u\n", fSeed);
    }

    ~StoreKill() override
    {
        munmap(fProgress, sizeof(StoreProgress));
        std::printf(
            "[   KILLED ] old %d, new %d, absent %d, partial %d (%d of them empty, %d ending "
            "in a line that is refused), other %d\n",
            fTally[eOld], fTally[eNew], fTally[eAbsent], fTally[ePartial], fEmpty, fRefused,
            fTally[eOther]);
    }

    int draw(int iBelow)
    {
        return static_cast<int>(fRandom() % static_cast<unsigned int>(iBelow));
    }

    /// One start of a host, killed at a call on files.
    void killAtACall()
    {
        const unsigned int seed = begin();
        const Victim victim(dir, seed, draw(kMostCalls), draw(1000), false);
        ASSERT_TRUE(victim.wasKilled()) << fProgress->result;
        finish(seed);
    }

    /// The same with a host that writes the store in a wrong way.
    void killWhileWritingInPlace()
    {
        reset();
        const unsigned int seed = begin();
        const Victim victim(dir, seed, draw(kMostCalls), draw(1000), true);
        ASSERT_TRUE(victim.wasKilled()) << fProgress->result;
        judge(seed);
    }

    /// The same, killed some time after its first operation.
    void killAtATime()
    {
        const unsigned int seed = begin();
        const Victim victim(dir, seed, -1, 0, false);
        ASSERT_TRUE(victim.isReady());
        std::this_thread::sleep_for(std::chrono::microseconds(draw(kMostMicroseconds)));
        victim.kill();
        ASSERT_TRUE(victim.wasKilled()) << fProgress->result;
        finish(seed);
    }

    /// Checks that a manager with this store loads it, stores a value and reads it.
    void startNext(bool iExists, const std::string& iFound)
    {
        const TempDir next;
        prepare(next);
        if (iExists)
        {
            next.write("store.txt", iFound);
        }
        StoreModel model;
        const bool isReadable = _parse(iFound, model);
        EXPECT_EQ(storeFresh(next), isReadable ? 0 : -3001) << iFound;
        if (!isReadable)
        {
            ++fRefused;
            EXPECT_EQ(readFile(next.file("store.txt")), iFound);
            fs::remove(next.file("store.txt"));
            model.entries.clear();
            EXPECT_EQ(storeFresh(next), 0);
        }
        model.entries["net|fresh"].value = "1";
        EXPECT_EQ(readFile(next.file("store.txt")), model.text());
    }

    TempDir dir;
    int fTally[eOther + 1] = {};
    int fEmpty = 0;
    int fRefused = 0;

private:
    static unsigned int chosenSeed()
    {
        const char* const given = std::getenv("IXLAL_STORE_SEED");
        return given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10))
                     : std::random_device()();
    }

    /// A store with only the marker.
    void reset()
    {
        fModel = StoreModel::marked();
        dir.write("store.txt", fModel.text());
    }

    static void prepare(const TempDir& iDir)
    {
        iDir.write("ixlap.configmanager.prs",
                   "net = net.prs\nixlap.configmanager.store.file = store.txt\n");
        iDir.write("net.prs", "own = 1\n");
    }

    unsigned int begin()
    {
        fGuard.beforeStart();
        *fProgress = {};
        return static_cast<unsigned int>(fRandom());
    }

    struct Round
    {
        StoreModel before; ///< the last operation
        StoreModel after;
    };

    /// Compares the store after the kill with the effect of the operations.
    Round judge(unsigned int iSeed)
    {
        Round round = replay(iSeed);
        const std::string found = readFile(dir.file("store.txt"));
        const EState state = _judge(round.before.text(), round.after.text(),
                                    fs::exists(dir.file("store.txt")), found);
        fEmpty += state == ePartial && found.empty();
        // Between two operations nothing may be lost.
        const bool isIdle = fProgress->begun == fProgress->done;
        ++fTally[isIdle && (state == eAbsent || state == ePartial) ? eOther : state];
        return round;
    }

    Round replay(unsigned int iSeed) const
    {
        StoreModel before = fModel;
        StoreScript script(iSeed);
        for (unsigned int i = 0; i < fProgress->done; ++i)
        {
            script.next();
            script.apply(before);
        }
        StoreModel after = before;
        if (fProgress->begun > fProgress->done)
        {
            script.next();
            script.apply(after);
        }
        return {before, after};
    }

    /// Starts with the store after the kill, and continues with the store that the guard restores.
    void finish(unsigned int iSeed)
    {
        EXPECT_EQ(fProgress->result, 0);
        const Round round = judge(iSeed);
        startNext(fs::exists(dir.file("store.txt")), readFile(dir.file("store.txt")));

        fGuard.beforeStart();
        std::string kept = readFile(dir.file("store.txt"));
        if (!kept.ends_with('\n'))
        {
            kept += '\n'; // a store is whole without its last line break, too
        }
        EXPECT_TRUE(kept == round.before.text() || kept == round.after.text() ||
                    kept == fModel.text());
        fModel = StoreModel();
        EXPECT_TRUE(_parse(kept, fModel));
    }

    /// Starts a manager in the directory and stores a value. Its own values are readable whatever
    /// the state of the store. The next manager reads the stored value.
    static int storeFresh(const TempDir& iDir)
    {
        const int stored = withManager(iDir, [](IConfigManager& ioManager, IConfig&)
                                       { return ioManager.storeString(L"net", L"fresh", L"1"); });
        PString text;
        const int read = withManager(iDir, [&](IConfigManager&, IConfig& ioConfig)
                                     { return ioConfig.getString(L"fresh", text); });
        EXPECT_EQ(read == 0, stored == 0);
        return stored;
    }

    template <class TWork>
    static int withManager(const TempDir& iDir, const TWork& iWork)
    {
        const PBaseptr<IConfigManager> manager(new PConfigManager);
        PBaseptr<IConfig> config;
        manager->setString(L"ixlap.global", L"core.plugins.config.dir", wide(iDir.path().string()));
        EXPECT_EQ(manager->loadByID(L"net", config), 0);
        EXPECT_EQ(valueOf(config, "own"), "1");
        const int result = iWork(*manager, *config);
        static_cast<PConfigManager&>(*manager).cleanup();
        return result;
    }

    const unsigned int fSeed;
    std::mt19937 fRandom;
    const HostGuard fGuard;
    StoreProgress* fProgress = nullptr;
    StoreModel fModel; ///< the store before a start
};
} // namespace

TEST_F(StoreKill, AtACallLosesAtMostTheFileBeingWritten)
{
    for (int i = 0; i < kKillsAtCalls && !HasFailure(); ++i)
    {
        killAtACall();
    }
    EXPECT_EQ(fTally[eOther], 0);
    // Without each of these outcomes the test would prove nothing.
    for (const EState state : {eOld, eNew, eAbsent, ePartial})
    {
        EXPECT_GT(fTally[state], kKillsAtCalls / 150) << state;
    }
    EXPECT_LT(fEmpty, fTally[ePartial]);
}

TEST_F(StoreKill, AtATimeLosesAtMostTheFileBeingWritten)
{
    for (int i = 0; i < kKillsAtTimes && !HasFailure(); ++i)
    {
        killAtATime();
    }
    EXPECT_EQ(fTally[eOther], 0);
    EXPECT_GT(fTally[eOld] + fTally[eNew], 0);
}

TEST_F(StoreKill, NextStartWorksWithEveryPartOfAStore)
{
    const std::string whole = "net|a = 1\nnet|b = two words\nnet|b:unit = s\n~|end = .\n";
    for (std::size_t size = 0; size <= whole.size(); ++size)
    {
        startNext(true, whole.substr(0, size));
    }
    startNext(false, "");
    EXPECT_GT(fRefused, 0);
}

TEST_F(StoreKill, DetectsAStoreThatIsWrittenInPlace)
{
    for (int i = 0; i < 60; ++i)
    {
        killWhileWritingInPlace();
    }
    EXPECT_GT(fTally[eOld] + fTally[eNew], 0);
    EXPECT_GT(fTally[eOther], 0);
}

TEST(StoreKillCheck, DetectsAStoreThatIsNeitherOldNorNewNorPartOfIt)
{
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", true, "a = 1\n"), eOld);
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", true, "a = 22\n"), eNew);
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", true, "a = 2"), ePartial);
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", true, ""), ePartial);
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", false, ""), eAbsent);
    EXPECT_EQ(_judge("a = 1\nb = 2\n", "a = 22\n", true, "a = 2\nb = 2\n"), eOther);
    EXPECT_EQ(_judge("a = 1\n", "a = 22\n", true, "a = 1"), eOther);
}
