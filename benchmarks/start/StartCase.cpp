// SPDX-License-Identifier: MIT
#include "start/StartCase.h"

#include "IPlugin.h"
#include "lookup/PocoService.h"
#include "support/CoreHost.h"
#include "support/LibraryCopies.h"
#include "support/Stopwatch.h"

#include <Poco/ClassLoader.h>
#include <algorithm>
#include <dlfcn.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr double kWrong = -1;

/// Unloads all libraries but those of the program, because the loader searches the list of loaded
/// libraries for each new one. Returns whether only those are loaded.
bool _unloadAll()
{
    CoreHost::stop();
    return LibraryCopies::loaded() == 0;
}

/// The file names of the libraries of a directory, last one first, so that the order of the
/// directory is of no use.
std::wstring _namesInReverse(const std::filesystem::path& iDirectory)
{
    std::wstring names;
    for (const std::string& path : LibraryCopies::list(iDirectory))
    {
        names = std::filesystem::path(path).filename().wstring() + L',' + names;
    }
    return names;
}

/// Opens the directory, loads every library, looks up its factory, calls it, and records the
/// interface IDs. With tInits it then initialises every plugin, by its index. Closes the libraries
/// outside the measured time.
template <bool tInits>
class FloorStart
{
public:
    explicit FloorStart(int iSize) : fSize(iSize), fDirectory(LibraryCopies::plugins(iSize))
    {
    }

    double timedTurn()
    {
        if (!_unloadAll())
        {
            return kWrong;
        }
        Stopwatch watch;
        Registry registry;
        const bool loaded = registry.load(fDirectory) && (!tInits || registry.init());
        const double seconds = watch.stop();
        const std::wstring last = LibraryCopies::interfaceId(fSize - 1);
        return loaded && registry.has(last) ? seconds : kWrong;
    }

private:
    class Registry
    {
    public:
        Registry() = default;

        ~Registry()
        {
            for (const Plugin& plugin : fPlugins)
            {
                plugin.plugin->decRef();
                ::dlclose(plugin.library);
            }
        }

        Registry(const Registry&) = delete;
        Registry& operator=(const Registry&) = delete;

        bool load(const std::filesystem::path& iDirectory)
        {
            for (const std::string& path : LibraryCopies::list(iDirectory))
            {
                void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
                void* const factory = library ? ::dlsym(library, "_Z13ixlaGetPluginv") : nullptr;
                if (!factory)
                {
                    return false;
                }
                add(library, reinterpret_cast<IPlugin* (*)()>(factory)());
            }
            return true;
        }

        bool init() const
        {
            return std::all_of(fPlugins.begin(), fPlugins.end(),
                               [](const Plugin& plugin) { return plugin.plugin->init() == 0; });
        }

        bool has(const std::wstring& iId) const
        {
            const auto found = fInterfaces.find(iId);
            IBase* instance = nullptr;
            return found != fInterfaces.end() &&
                   found->second->getInstance(iId.c_str(), instance) == 0 && instance;
        }

    private:
        struct Plugin
        {
            void* library;
            IPlugin* plugin;
        };

        void add(void* iLibrary, IPlugin* iPlugin)
        {
            iPlugin->incRef();
            fPlugins.push_back({iLibrary, iPlugin});
            unsigned int count = 0;
            const std::unique_ptr<PString[]> ids(iPlugin->getInterfaces(count));
            for (unsigned int i = 0; i < count; ++i)
            {
                fInterfaces.emplace(std::wstring(ids[i].ptr(), ids[i].len()), iPlugin);
            }
        }

        std::vector<Plugin> fPlugins;
        std::map<std::wstring, IPlugin*> fInterfaces;
    };

    const int fSize;
    const std::filesystem::path& fDirectory;
};

/// The complete start of the core, which also starts its own services. With tInits all plugins are
/// in the autostart list.
template <bool tInits>
class OurStart
{
public:
    explicit OurStart(int iSize) : fSize(iSize)
    {
        fSetup.pluginsDir = LibraryCopies::plugins(iSize);
        if (tInits)
        {
            fSetup.autostart = _namesInReverse(fSetup.pluginsDir);
        }
    }

    double timedTurn()
    {
        if (!_unloadAll())
        {
            return kWrong;
        }
        const double seconds = CoreHost::start(fSetup);
        IBase* instance = nullptr;
        const std::wstring last = LibraryCopies::interfaceId(fSize - 1);
        return ixlaGetInstance(last.c_str(), instance) == 0 && instance ? seconds : kWrong;
    }

private:
    const int fSize;
    HostSetup fSetup;
};

/// Loading a library looks up its manifest, which creates the factory of its class. Unlike the
/// plugins, which need the core's libraries, these need POCO's.
class PocoStart
{
public:
    explicit PocoStart(int iSize) : fDirectory(LibraryCopies::pocoLibraries(iSize))
    {
    }

    double timedTurn()
    {
        if (!_unloadAll())
        {
            return kWrong;
        }
        Stopwatch watch;
        Poco::ClassLoader<PocoService> loader;
        const std::vector<std::string> paths = LibraryCopies::list(fDirectory);
        for (const std::string& path : paths)
        {
            loader.loadLibrary(path);
        }
        const double seconds = watch.stop();
        const bool created = std::unique_ptr<PocoService>(loader.create("PocoSmall")) != nullptr;
        for (const std::string& path : paths)
        {
            loader.unloadLibrary(path);
        }
        return created ? seconds : kWrong;
    }

private:
    const std::filesystem::path& fDirectory;
};

void _enter(Contest& ioContest, const Case& iStart)
{
    ioContest.enter<FloorStart<false>>(iStart, "floor");
    ioContest.enter<OurStart<false>>(iStart, "ours");
    ioContest.enter<PocoStart>(iStart, "poco");
}
} // namespace

void enterStart(Contest& ioContest)
{
    _enter(ioContest, {.name = "start", .sizes = {1, 10}, .turns = 20, .countTurns = 4});
    _enter(ioContest, {.name = "start", .sizes = {100, 500}, .turns = 2, .countTurns = 1});
    const Case autostart{
        .name = "start, autostart", .sizes = {100, 500}, .turns = 2, .countTurns = 1};
    ioContest.enter<FloorStart<true>>(autostart, "floor");
    ioContest.enter<OurStart<true>>(autostart, "ours");
}
