// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "support/FileSweep.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <utility>

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace
{
constexpr char kOldStore[] = "net|mode = slow\nnet|port = 90\nnet|port:unit = tcp\n";

/// A manager with one loaded configuration, one run-time value and a store that has been read.
class ConfigScenario : public FileScenario
{
public:
    ConfigScenario() : fHolder(new PConfigManager), fManager(static_cast<PConfigManager&>(*fHolder))
    {
        write("ixlap.configmanager.prs",
              "net = net.prs, more.prs\nixlap.configmanager.store.file = store.txt\n");
        write("net.prs", "own = 1\nport = 80\n");
        write("more.prs", "more = 2\n");
        write("store.txt", kOldStore);
        // Long enough to need a second read.
        write("lines.prs", "a = " + std::string(20000, 'x') + "\nb = 2\n");
        fHolder->setString(L"ixlap.global", L"core.plugins.config.dir", wide(fDir.path().string()));
        fHolder->setString(L"net", L"speed", L"fast");
    }

    ~ConfigScenario() override
    {
        fManager.cleanup();
    }

    std::string examine(const FilePoint&, int) override
    {
        return goesOn();
    }

protected:
    void write(const std::string& iName, const std::string& iText) const
    {
        fDir.write(iName, iText);
    }

    void load()
    {
        fHolder->loadByID(L"net", fConfig);
        fStoredMode = valueOf(fConfig, "mode");
    }

    /// Checks what a failed operation must not change: loaded configurations, run-time values, and
    /// the store as first read.
    std::string goesOn()
    {
        if (!fConfig)
        {
            return "";
        }
        const bool isRight = valueOf(fConfig, "own") == "1" && valueOf(fConfig, "more") == "2" &&
                             valueOf(fConfig, "speed") == "fast" &&
                             valueOf(fConfig, "mode") == fStoredMode &&
                             dynamicOf(fManager, "net", "speed") == "fast" &&
                             fHolder->setString(L"net", L"new", L"1") == 0;
        return isRight ? "" : "other values";
    }

    TempDir fDir;
    PBaseptr<IConfigManager> fHolder;
    PConfigManager& fManager;
    PBaseptr<IConfig> fConfig;
    std::string fStoredMode;
};

// A read error counts as the end of the file. An error of closing a file that was only read is
// ignored.
bool _isIgnoredByLoads(const FilePoint& iPoint)
{
    return iPoint.is(FileFaults::read) || iPoint.is(FileFaults::close);
}

/// Loads or appends a file.
template <bool tAppends>
class LoadingFile : public ConfigScenario
{
public:
    LoadingFile()
    {
        load();
    }

    int operate() override
    {
        const PString file = fDir.wideFile("lines.prs");
        if (!tAppends)
        {
            return fHolder->loadByFile(file, fLoaded);
        }
        fHolder->loadByArgs({wide("c=3")}, fLoaded);
        return fHolder->appendByFile(file, fLoaded);
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        return _isIgnoredByLoads(iPoint) ? iResult == 0 : FileScenario::admits(iPoint, iResult);
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        const bool isWhole = iResult == 0 && (iPoint.isHarmless() || !iPoint.is(FileFaults::read));
        if (isWhole && !examineRepeated().empty())
        {
            return examineRepeated();
        }
        // A failed load leaves the argument unchanged.
        return iResult != 0 && !tAppends && fLoaded ? "a configuration" : goesOn();
    }

    std::string examineRepeated() override
    {
        const bool isRight = fLoaded && valueOf(fLoaded, "a") == std::string(20000, 'x') &&
                             valueOf(fLoaded, "b") == "2" &&
                             (!tAppends || valueOf(fLoaded, "c") == "3");
        return isRight ? "" : "other values";
    }

private:
    PBaseptr<IConfig> fLoaded;
};

/// Loads by ID with a new manager, which reads its own configuration first.
class LoadingID : public ConfigScenario
{
public:
    int operate() override
    {
        return fHolder->loadByID(L"net", fLoaded);
    }

    /// Only a failure of the manager's own configuration is an error.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool isNeeded = iPoint.is(*iPoint.call, "ixlap.configmanager.prs");
        return _isIgnoredByLoads(iPoint) || !isNeeded ? iResult == 0
                                                      : FileScenario::admits(iPoint, iResult);
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        // The manager uses only the part of its configuration that it has read.
        fMayMiss = iPoint.is(FileFaults::read, "ixlap.configmanager.prs") && !iPoint.isHarmless();
        if (iPoint.isHarmless() || iPoint.is(FileFaults::close))
        {
            return examineRepeated();
        }
        return (iResult == 0) == static_cast<bool>(fLoaded) ? "" : "a configuration";
    }

    std::string examineRepeated() override
    {
        const bool isRight = fLoaded && valueOf(fLoaded, "own") == "1" &&
                             valueOf(fLoaded, "port") == "90" && valueOf(fLoaded, "more") == "2" &&
                             valueOf(fLoaded, "speed") == "fast";
        return isRight || fMayMiss ? "" : "other values";
    }

private:
    PBaseptr<IConfig> fLoaded;
    bool fMayMiss = false;
};

/// Lists the IDs of the store and of the manager's configuration.
class ListingIDs : public ConfigScenario
{
public:
    ListingIDs()
    {
        load();
    }

    int operate() override
    {
        return fHolder->listIDs(fIDs);
    }

    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool isIgnored = _isIgnoredByLoads(iPoint) || iPoint.is(FileFaults::access);
        return isIgnored ? iResult == 0 : FileScenario::admits(iPoint, iResult);
    }

    std::string examine(const FilePoint&, int iResult) override
    {
        const std::string wrong = iResult == 0 ? examineRepeated() : "";
        return wrong.empty() ? goesOn() : wrong;
    }

    std::string examineRepeated() override
    {
        return fIDs.size() == 1 && narrow(fIDs[0]) == "net" ? "" : "other IDs";
    }

private:
    std::vector<PString> fIDs;
};

/// Looks up a stored value for the first time, which reads the store.
class LookingUp : public ConfigScenario
{
public:
    LookingUp()
    {
        fHolder->loadByID(L"net", fOther);
    }

    int operate() override
    {
        PString text;
        const int result = fManager.getLoadedString(L"net", L"mode", text);
        return result == 0 && narrow(text) != "slow" ? -1 : result;
    }

    /// After a read error the manager never reads the rest of the store.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool isIgnored = iPoint.is(FileFaults::close) || iPoint.is(FileFaults::access);
        const bool isCut = iPoint.is(FileFaults::read) && !iPoint.isHarmless();
        return isIgnored ? iResult == 0
               : isCut   ? iResult == 0 || iResult == -504
                         : FileScenario::admits(iPoint, iResult);
    }

    std::string examine(const FilePoint& iPoint, int) override
    {
        fIsCut = iPoint.is(FileFaults::read);
        const bool isRight = valueOf(fOther, "own") == "1" && valueOf(fOther, "speed") == "fast";
        return isRight ? "" : "other values";
    }

    int repeat() override
    {
        const int result = operate();
        return fIsCut && result == -504 ? 0 : result;
    }

private:
    PBaseptr<IConfig> fOther;
    bool fIsCut = false;
};

/// An operation on the store: its name, and the text of the store after it.
struct StoreOperation
{
    const char* name;
    std::function<int(IConfigManager&)> run;
    std::string newStore;
    bool needsKey = false; ///< fails without the key, as an attribute does

    friend void PrintTo(const StoreOperation& iOperation, std::ostream* oStream)
    {
        *oStream << iOperation.name;
    }
};

typedef std::set<std::string> Lines;

Lines _linesOf(const std::string& iText)
{
    Lines lines;
    for (std::size_t from = 0, to = 0; (to = iText.find('\n', from)) != std::string::npos;
         from = to + 1)
    {
        lines.insert(iText.substr(from, to - from));
    }
    return lines;
}

class Storing : public ConfigScenario
{
public:
    explicit Storing(StoreOperation iOperation) : fOperation(std::move(iOperation))
    {
        load();
    }

    int operate() override
    {
        return fOperation.run(*fHolder);
    }

    /// The store is checked, loaded, deleted and created again. The first file that is closed was
    /// only read.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool isIgnored =
            iPoint.is(FileFaults::access) || iPoint.is(FileFaults::read) ||
            (iPoint.is(FileFaults::close) && iPoint.number == 1 && !iPoint.lasts);
        const bool hasNoKey = iPoint.is(FileFaults::read) && fOperation.needsKey;
        return isIgnored ? iResult == 0 || (hasNoKey && iResult == -3002)
                         : FileScenario::admits(iPoint, iResult);
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        const std::string wrong = examineStore(iPoint, iResult);
        return wrong.empty() ? goesOn() : wrong;
    }

    int repeat() override
    {
        const std::string left = readFile(storeFile());
        if (fOperation.needsKey && left.find("net|port = ") == std::string::npos)
        {
            EXPECT_EQ(fHolder->storeString(L"net", L"port", L"90"), 0);
        }
        return operate();
    }

    /// Whatever was lost, the file has the operation's own value, and no wrong lines.
    std::string examineRepeated() override
    {
        const Lines all = _linesOf(fOperation.newStore);
        const Lines old = _linesOf(kOldStore);
        const Lines left = _linesOf(readFile(storeFile()));
        for (const std::string& line : all)
        {
            if (left.count(line) == 0 && old.count(line) == 0)
            {
                return "no line " + line;
            }
        }
        return std::includes(all.begin(), all.end(), left.begin(), left.end()) ? "" : "other lines";
    }

protected:
    std::string storeFile() const
    {
        return fDir.file("store.txt");
    }

    std::string examineStore(const FilePoint& iPoint, int iResult) const
    {
        const std::string left = readFile(storeFile());
        const bool wasCut = iPoint.is(FileFaults::read) && !iPoint.isHarmless();
        const bool wasLoading =
            (iPoint.is(FileFaults::open) || iPoint.is(FileFaults::state)) && iPoint.number == 1;
        const bool keepsOld = iPoint.is(FileFaults::unlink) || wasLoading || iResult == -3002;
        bool isRight = false;
        if (iResult == 0)
        {
            const Lines all = _linesOf(fOperation.newStore);
            const Lines lines = _linesOf(left);
            isRight = left == fOperation.newStore ||
                      (wasCut && std::includes(all.begin(), all.end(), lines.begin(), lines.end()));
        }
        else
        {
            isRight = keepsOld ? left == kOldStore
                               : fOperation.newStore.compare(0, left.size(), left) == 0;
        }
        return isRight ? "" : "store: " + left.substr(0, 200);
    }

    const StoreOperation fOperation;
};

/// The first operation creates the file.
class StoringFirst : public Storing
{
public:
    StoringFirst()
        : Storing({"first",
                   [](IConfigManager& iManager)
                   { return iManager.storeString(L"net", L"port", L"90"); },
                   "net|port = 90\n"})
    {
        fs::remove(storeFile());
    }

    /// If the file could not be created before, loading it fails.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        return Storing::admits(iPoint, iResult) ||
               (iPoint.is(FileFaults::open) && iPoint.number == 1 && iResult == -ENOENT) ||
               (iPoint.is(FileFaults::state) && iPoint.number == 1 && iResult == 0) ||
               (iPoint.is(FileFaults::close) && iPoint.number == 2 && iResult == 0);
    }

    std::string examine(const FilePoint&, int iResult) override
    {
        const std::string left = readFile(storeFile());
        const bool isRight = iResult == 0 ? left == fOperation.newStore
                                          : fOperation.newStore.compare(0, left.size(), left) == 0;
        return isRight ? goesOn() : "store: " + left;
    }
};

/// A wrong operation: it always returns 0.
class SayingYes : public Storing
{
public:
    SayingYes()
        : Storing({"wrong",
                   [](IConfigManager& iManager)
                   {
                       (void)iManager.storeString(L"net", L"port", L"90");
                       return 0;
                   },
                   kOldStore})
    {
    }
};

const char kPort[] = "net|mode = slow\nnet|port = %\nnet|port:unit = tcp\n";

std::string _withPort(const std::string& iValue)
{
    return std::string(kPort).replace(std::string(kPort).find('%'), 1, iValue);
}

std::string _withAttribute(const std::string& iText)
{
    return std::string("net|mode = slow\nnet|port = 90\nnet|port:a = ") + iText +
           "\nnet|port:unit = tcp\n";
}

const unsigned char kBytes[] = {0xAB, 0x01};
const std::string kLong(40000, 'v');

std::vector<StoreOperation> _values()
{
    return {
        {"storeString", [](IConfigManager& m) { return m.storeString(L"net", L"port", L"1"); },
         _withPort("1")},
        {"storeString_long",
         [](IConfigManager& m) { return m.storeString(L"net", L"port", wide(kLong)); },
         _withPort(kLong)},
        {"storeInt32", [](IConfigManager& m) { return m.storeInt32(L"net", L"port", -1); },
         _withPort("-1")},
        {"storeUint32", [](IConfigManager& m) { return m.storeUint32(L"net", L"port", 1); },
         _withPort("1")},
        {"storeInt64", [](IConfigManager& m) { return m.storeInt64(L"net", L"port", -2); },
         _withPort("-2")},
        {"storeUint64", [](IConfigManager& m) { return m.storeUint64(L"net", L"port", 2); },
         _withPort("2")},
        {"storeBool", [](IConfigManager& m) { return m.storeBool(L"net", L"port", true); },
         _withPort("true")},
        {"storeBinary", [](IConfigManager& m) { return m.storeBinary(L"net", L"port", kBytes, 2); },
         _withPort("ab01")},
        {"removeStoredKey", [](IConfigManager& m) { return m.removeStoredKey(L"net", L"port"); },
         "net|mode = slow\n"},
    };
}

std::vector<StoreOperation> _attributes()
{
    return {
        {"storeAttrString",
         [](IConfigManager& m) { return m.storeAttrString(L"net", L"port", L"a", L"1"); },
         _withAttribute("1"), true},
        {"storeAttrInt32",
         [](IConfigManager& m) { return m.storeAttrInt32(L"net", L"port", L"a", -1); },
         _withAttribute("-1"), true},
        {"storeAttrUint32",
         [](IConfigManager& m) { return m.storeAttrUint32(L"net", L"port", L"a", 1); },
         _withAttribute("1"), true},
        {"storeAttrInt64",
         [](IConfigManager& m) { return m.storeAttrInt64(L"net", L"port", L"a", -2); },
         _withAttribute("-2"), true},
        {"storeAttrUint64",
         [](IConfigManager& m) { return m.storeAttrUint64(L"net", L"port", L"a", 2); },
         _withAttribute("2"), true},
        {"storeAttrBool",
         [](IConfigManager& m) { return m.storeAttrBool(L"net", L"port", L"a", true); },
         _withAttribute("true"), true},
        {"storeAttrBinary",
         [](IConfigManager& m) { return m.storeAttrBinary(L"net", L"port", L"a", kBytes, 2); },
         _withAttribute("ab01"), true},
        {"removeStoredAttr",
         [](IConfigManager& m) { return m.removeStoredAttr(L"net", L"port", L"unit"); },
         "net|mode = slow\nnet|port = 90\n"},
    };
}

template <class TScenario>
std::unique_ptr<FileScenario> _make()
{
    return std::make_unique<TScenario>();
}

class StoreFileSweep : public testing::TestWithParam<StoreOperation>
{
};

std::string _nameOf(const testing::TestParamInfo<StoreOperation>& iInfo)
{
    return iInfo.param.name;
}
} // namespace

TEST(ConfigFileSweep, LoadByFileReportsEveryFailure)
{
    FileSweep sweep("loadByFile", &_make<LoadingFile<false>>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::read), 20);
}

TEST(ConfigFileSweep, AppendByFileKeepsEarlierEntries)
{
    FileSweep sweep("appendByFile", &_make<LoadingFile<true>>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::read), 20);
}

TEST(ConfigFileSweep, LoadByIDRequiresOnlyTheManagerConfiguration)
{
    FileSweep sweep("loadByID", &_make<LoadingID>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::open), 27);
}

TEST(ConfigFileSweep, ListIDsReportsEveryFailure)
{
    FileSweep sweep("listIDs", &_make<ListingIDs>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::access), 9);
}

TEST(ConfigFileSweep, FirstLookupReportsEveryFailure)
{
    FileSweep sweep("first lookup", &_make<LookingUp>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::open), 9);
}

TEST(ConfigFileSweep, FirstStoreReportsEveryFailure)
{
    FileSweep sweep("first storeString", &_make<StoringFirst>);
    EXPECT_THAT(sweep.run(), IsEmpty());
    EXPECT_GE(sweep.points(FileFaults::open), 27);
}

TEST_P(StoreFileSweep, ReportsEveryFailureWithoutOtherEffects)
{
    FileSweep sweep(GetParam().name, [] { return std::make_unique<Storing>(GetParam()); });
    EXPECT_THAT(sweep.run(), IsEmpty());
    for (const FileFault* call : {&FileFaults::open, &FileFaults::read, &FileFaults::write,
                                  &FileFaults::close, &FileFaults::state, &FileFaults::unlink})
    {
        EXPECT_GE(sweep.points(*call), 9) << call->name();
    }
}

INSTANTIATE_TEST_SUITE_P(Values, StoreFileSweep, testing::ValuesIn(_values()), _nameOf);
INSTANTIATE_TEST_SUITE_P(Attributes, StoreFileSweep, testing::ValuesIn(_attributes()), _nameOf);

TEST(ConfigFileSweep, DetectsAnOperationThatIgnoresAnError)
{
    EXPECT_THAT(FileSweep("wrong", &_make<SayingYes>).run(),
                Contains(AllOf(HasSubstr("write 1 ENOSPC"), HasSubstr("returns 0"))));
}
