// SPDX-License-Identifier: MIT
#include "config/LoadCase.h"

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/ConfigLines.h"
#include "config/FloorConfig.h"
#include "support/BenchDir.h"
#include "support/CoreHost.h"
#include "support/Stopwatch.h"

#include <INIReader.h>
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <SimpleIni.h>
#include <glib.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace
{
enum EOrder
{
    eSorted,
    eShuffled
};

/// The minimum for a configuration of wide texts, ordered by key.
class FloorLoad
{
public:
    explicit FloorLoad(const std::string& iPath) : fPath(iPath)
    {
    }

    bool load()
    {
        return fConfig.load(fPath);
    }

    bool has(int iNumber) const
    {
        const std::wstring_view* const found = fConfig.find(ConfigLines::wideKey(iNumber));
        return found && *found == ConfigLines::wideValue(iNumber);
    }

private:
    const std::string fPath;
    FloorConfig fConfig;
};

class OurLoad
{
public:
    explicit OurLoad(const std::string& iPath)
        : fPath(std::wstring(iPath.begin(), iPath.end()).c_str())
    {
        CoreHost::need(HostSetup());
        fManager = CoreHost::get<IConfigManager>(kIxlaConfigManagerId);
    }

    bool load()
    {
        return fManager->loadByFile(fPath, fConfig) == 0;
    }

    bool has(int iNumber)
    {
        PString value;
        return fConfig->getString(ConfigLines::wideKey(iNumber).c_str(), value) == 0 &&
               value == ConfigLines::wideValue(iNumber).c_str();
    }

private:
    const PString fPath;
    IConfigManager* fManager;
    PBaseptr<IConfig> fConfig;
};

/// Holds the bytes of the file in one block and points into it; decodes nothing.
class SimpleIniLoad
{
public:
    explicit SimpleIniLoad(const std::string& iPath) : fPath(iPath)
    {
        fIni.SetUnicode();
    }

    bool load()
    {
        return fIni.LoadFile(fPath.c_str()) >= 0;
    }

    bool has(int iNumber)
    {
        const char* const value = fIni.GetValue("", ConfigLines::key(iNumber).c_str());
        return value && ConfigLines::value(iNumber) == value;
    }

private:
    const std::string fPath;
    CSimpleIniCaseA fIni;
};

/// A parser that calls back for each line, with its own map. Stores bytes, folds keys to lower
/// case, truncates lines at 200 bytes.
class InihLoad
{
public:
    explicit InihLoad(const std::string& iPath) : fPath(iPath)
    {
    }

    bool load()
    {
        fReader = std::make_unique<INIReader>(fPath);
        return fReader->ParseError() == 0;
    }

    bool has(int iNumber)
    {
        return fReader->Get("", ConfigLines::key(iNumber), "") == ConfigLines::value(iNumber);
    }

private:
    const std::string fPath;
    std::unique_ptr<INIReader> fReader;
};

/// An ordered map like ours, but of bytes.
class PocoLoad
{
public:
    explicit PocoLoad(const std::string& iPath) : fPath(iPath)
    {
    }

    bool load()
    {
        fConfig = new Poco::Util::PropertyFileConfiguration(fPath);
        return true;
    }

    bool has(int iNumber)
    {
        return fConfig->getRawString(ConfigLines::key(iNumber), "") == ConfigLines::value(iNumber);
    }

private:
    const std::string fPath;
    Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> fConfig;
};

/// A hash table and a list of bytes, checked to be UTF-8; keys cannot be listed in order. Its files
/// need "[bench]" as first line. Its allocations are not counted.
class GlibLoad
{
public:
    explicit GlibLoad(const std::string& iPath) : fPath(iPath), fFile(g_key_file_new())
    {
    }

    ~GlibLoad()
    {
        g_key_file_free(fFile);
    }

    GlibLoad(const GlibLoad&) = delete;
    GlibLoad& operator=(const GlibLoad&) = delete;

    bool load()
    {
        const std::unique_ptr<GMappedFile, void (*)(GMappedFile*)> file(
            g_mapped_file_new(fPath.c_str(), false, nullptr), g_mapped_file_unref);
        return file && g_key_file_load_from_data(fFile, g_mapped_file_get_contents(file.get()),
                                                 g_mapped_file_get_length(file.get()),
                                                 G_KEY_FILE_NONE, nullptr);
    }

    bool has(int iNumber)
    {
        const std::unique_ptr<char, void (*)(void*)> value(
            g_key_file_get_value(fFile, kGroup, ConfigLines::key(iNumber).c_str(), nullptr),
            g_free);
        return value && ConfigLines::value(iNumber) == value.get();
    }

    static constexpr char kGroup[] = "bench";

private:
    const std::string fPath;
    GKeyFile* fFile;
};

/// Loads the file into a new TLoader in each turn.
template <class TLoader, BenchDir::EPlace tPlace, EOrder tOrder>
class Load
{
public:
    explicit Load(int iSize) : fSize(iSize), fDir(tPlace), fPath(fDir.file("bench.conf"))
    {
        const bool grouped = std::is_same_v<TLoader, GlibLoad>;
        fDir.write("bench.conf",
                   (grouped ? "[bench]\n" : "") + ConfigLines::file(iSize, tOrder == eSorted));
    }

    double timedTurn()
    {
        TLoader loader(fPath);
        const long long before = Allocations::held();
        Stopwatch watch;
        const bool loaded = loader.load();
        const double seconds = watch.stop();
        fHeld = Allocations::held() - before;
        const bool right =
            loaded && loader.has(0) && loader.has(fSize / 2) && loader.has(fSize - 1);
        return right ? seconds : -1;
    }

    double heldBytes()
    {
        return static_cast<double>(fHeld);
    }

private:
    const int fSize;
    const BenchDir fDir;
    const std::string fPath;
    long long fHeld = 0;
};

template <BenchDir::EPlace tPlace, EOrder tOrder>
void _enter(Contest& ioContest, const std::string& iName)
{
    for (const auto& [lines, turns] : {std::pair(100, 100u), {10000, 2u}, {200000, 1u}})
    {
        Case load{iName, {lines}, turns};
        load.countTurns = (turns + 1) / 2;
        ioContest.enter<Load<FloorLoad, tPlace, tOrder>>(load, "floor");
        ioContest.enter<Load<OurLoad, tPlace, tOrder>>(load, "ours");
        ioContest.enter<Load<SimpleIniLoad, tPlace, tOrder>>(load, "simpleini");
        ioContest.enter<Load<InihLoad, tPlace, tOrder>>(load, "inih");
        ioContest.enter<Load<PocoLoad, tPlace, tOrder>>(load, "poco");
        ioContest.enter<Load<GlibLoad, tPlace, tOrder>>(load, "glib");
    }
    if constexpr (tPlace == BenchDir::eMemory)
    {
        const Case large{iName, {1000000}, 1};
        ioContest.enter<Load<FloorLoad, tPlace, tOrder>>(large, "floor");
        ioContest.enter<Load<OurLoad, tPlace, tOrder>>(large, "ours");
    }
}
} // namespace

void enterLoad(Contest& ioContest)
{
    _enter<BenchDir::eMemory, eSorted>(ioContest, "load sorted");
    _enter<BenchDir::eMemory, eShuffled>(ioContest, "load shuffled");
    _enter<BenchDir::eDisk, eShuffled>(ioContest, "load from disk");
}
