// SPDX-License-Identifier: MIT
#include "config/StoreCase.h"

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/ConfigLines.h"
#include "config/FloorConfig.h"
#include "support/BenchDir.h"
#include "support/CoreHost.h"
#include "support/Shuffled.h"
#include "support/Stopwatch.h"

#include <SimpleIni.h>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace
{
constexpr char kFile[] = "store.conf";

/// Reads and parses the file, changes the value and rewrites the file. Decodes nothing.
class FloorStore
{
public:
    explicit FloorStore(const std::string& iPath) : fPath(iPath)
    {
    }

    bool store(int iNumber, const std::wstring& iValue)
    {
        return floorStore(fPath, "bench|" + ConfigLines::key(iNumber),
                          std::string(iValue.begin(), iValue.end()));
    }

private:
    const std::string fPath;
};

class OurStore
{
public:
    explicit OurStore(const std::string& iPath)
    {
        HostSetup setup;
        setup.manager = "ixlap.configmanager.store.file = " + iPath + '\n';
        CoreHost::need(setup);
        fManager = CoreHost::get<IConfigManager>(kIxlaConfigManagerId);
        // The first load by ID sets the path of the store.
        PBaseptr<IConfig> config;
        fManager->loadByID(L"bench", config);
    }

    bool store(int iNumber, const std::wstring& iValue)
    {
        return fManager->storeString(L"bench", ConfigLines::wideKey(iNumber).c_str(),
                                     iValue.c_str()) == 0;
    }

private:
    IConfigManager* fManager;
};

/// Stores bytes and keeps the order of the file; overwrites the existing file.
class SimpleIniStore
{
public:
    explicit SimpleIniStore(const std::string& iPath) : fPath(iPath)
    {
    }

    bool store(int iNumber, const std::wstring& iValue)
    {
        CSimpleIniCaseA ini;
        ini.SetUnicode();
        const std::string value(iValue.begin(), iValue.end());
        return ini.LoadFile(fPath.c_str()) >= 0 &&
               ini.SetValue("", ("bench|" + ConfigLines::key(iNumber)).c_str(), value.c_str()) >=
                   0 &&
               ini.SaveFile(fPath.c_str(), false) >= 0;
    }

private:
    const std::string fPath;
};

/// Changes the value of another entry in each turn.
template <class TStore, BenchDir::EPlace tPlace>
class Store
{
public:
    explicit Store(int iSize)
        : fOrder(iSize), fDir(tPlace), fPath(written(fDir, iSize)), fStore(fPath)
    {
    }

    double timedTurn()
    {
        const auto number = static_cast<int>(fOrder[fTurn]);
        const std::wstring value = L"value " + std::to_wstring(++fTurn);
        Stopwatch watch;
        const bool stored = fStore.store(number, value);
        const double seconds = watch.stop();
        const std::string line =
            "bench|" + ConfigLines::key(number) + " = " + std::string(value.begin(), value.end());
        return stored && file().find(line) != std::string::npos ? seconds : -1;
    }

private:
    static std::string written(const BenchDir& iDir, int iSize)
    {
        iDir.write(kFile, ConfigLines::file(iSize, true, "bench|"));
        return iDir.file(kFile);
    }

    std::string file() const
    {
        std::ifstream stream(fPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const Shuffled fOrder;
    const BenchDir fDir;
    const std::string fPath;
    TStore fStore;
    unsigned int fTurn = 0;
};

template <BenchDir::EPlace tPlace>
void _enter(Contest& ioContest, const std::string& iName)
{
    for (const auto& [lines, turns] : {std::pair(100, 20u), {1000, 8u}, {10000, 2u}})
    {
        Case store{iName, {lines}, turns};
        store.countTurns = (turns + 1) / 2;
        ioContest.enter<Store<FloorStore, tPlace>>(store, "floor");
        ioContest.enter<Store<OurStore, tPlace>>(store, "ours");
        ioContest.enter<Store<SimpleIniStore, tPlace>>(store, "simpleini");
    }
}
} // namespace

void enterStore(Contest& ioContest)
{
    _enter<BenchDir::eMemory>(ioContest, "store");
    _enter<BenchDir::eDisk>(ioContest, "store on disk");
}
