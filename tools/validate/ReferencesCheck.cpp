// SPDX-License-Identifier: MIT
// The check for references that are leaked or dropped once too often.

#include "helpers/Text.h"
#include "validate/PCheck.h"
#include "validate/PHeldObject.h"
#include "validate/PTrial.h"

#include <chrono>
#include <memory>
#include <thread>

namespace
{
typedef std::map<std::string, PHeldObject> PHeldObjects;
typedef std::map<std::string, int> PCounts;

/// The name of a service of the plugin begins with it.
constexpr char kOfPlugin[] = "its own \"";

/// Holds an object, unless another interface of the same one is held.
void _hold(const std::string& iName, IBase& ioObject, PHeldObjects& ioHeld)
{
    PHeldObject object(ioObject);
    for (const auto& [name, held] : ioHeld)
    {
        if (held.sharesCount(object))
        {
            object.drop();
            return;
        }
    }
    ioHeld.emplace(iName, object);
}

void _holdCore(const std::string& iName, const PLiteral& iId, PHeldObjects& ioHeld)
{
    IBase* instance = nullptr;
    if (ixlaGetInstance(iId, instance) == eIxlaOk && instance)
    {
        _hold(iName, *instance, ioHeld);
    }
}

/// The services of the core that hold no object of a plugin.
PHeldObjects _holdSimple()
{
    PHeldObjects held;
    _holdCore("the configuration manager", kIxlaConfigManagerId, held);
    _holdCore("the logger", kIxlaLoggerId, held);
    return held;
}

/// The services that may hold objects of plugins.
PHeldObjects _holdHolders(const PTrial& iTrial)
{
    PHeldObjects held;
    _holdCore("the event dispatcher", kIxlaEventDispatcherId, held);
    for (const auto& [id, instance] : iTrial.initialiseOthers())
    {
        _hold("\"" + id + "\"", *instance, held);
    }
    return held;
}

void _holdOwn(PTrial& ioTrial, PHeldObjects& ioHeld)
{
    const std::vector<IBase*> instances = ioTrial.initialise();
    const std::vector<PString> ids = ioTrial.registeredIds();
    for (std::size_t i = 0; i < instances.size(); ++i)
    {
        _hold(kOfPlugin + ixlaNarrow(ids[i]) + "\"", *instances[i], ioHeld);
    }
}

int _difference(const std::string& iName, const PHeldObject& iHeld, const PCounts& iExpected)
{
    const auto expected = iExpected.find(iName);
    return iHeld.others() - (expected == iExpected.end() ? 0 : expected->second);
}

/// Releases the objects with the expected count, which may release others of them.
void _dropExpected(PHeldObjects& ioHeld, const PCounts& iExpected)
{
    for (auto each = ioHeld.begin(); each != ioHeld.end();)
    {
        if (_difference(each->first, each->second, iExpected) == 0)
        {
            each->second.drop();
            ioHeld.erase(each);
            each = ioHeld.begin();
            continue;
        }
        ++each;
    }
}

/// The objects whose count is not the expected one; waits a while for threads that are ending.
PCounts _settle(PHeldObjects& ioHeld, const PCounts& iExpected)
{
    _dropExpected(ioHeld, iExpected);
    for (int i = 0; i < 100 && !ioHeld.empty(); ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        _dropExpected(ioHeld, iExpected);
    }
    PCounts counts;
    for (const auto& [name, held] : ioHeld)
    {
        counts[name] = _difference(name, held, iExpected);
    }
    return counts;
}

/// What remains of a core without the plugin.
PCounts _countsOfOthers(PTrial& ioTrial)
{
    ioTrial.startCore(false);
    PHeldObjects simple = _holdSimple();
    PHeldObjects holders = _holdHolders(ioTrial);
    ioTrial.stopCore();
    PCounts counts = _settle(holders, {});
    counts.merge(_settle(simple, {}));
    return counts;
}

/// Takes the services of the plugin that are still held out of ioHeld.
PCounts _settleOwn(PHeldObjects& ioHeld, const PCounts& iExpected)
{
    PCounts counts = _settle(ioHeld, iExpected);
    const auto isOwn = [](const auto& iEach)
    {
        return iEach.first.starts_with(kOfPlugin);
    };
    std::erase_if(ioHeld, isOwn);
    std::erase_if(counts, [&](const auto& iEach) { return !isOwn(iEach); });
    return counts;
}

/// Keeps the libraries of the other plugins loaded.
void _keepOthers(const PTestCore& iCore, const PTrial& iTrial)
{
    for (const auto& entry : std::filesystem::directory_iterator(iCore.directory() / "plugins"))
    {
        PLibrary* library = nullptr;
        if (!std::filesystem::equivalent(entry.path(), iTrial.options().plugin))
        {
            // The core reports a library that cannot be loaded.
            static_cast<void>(PLibrary::load(ixlaWide(entry.path().string()), library, true));
        }
    }
}

std::string _times(int iCount)
{
    return iCount == 1 ? "once" : std::to_string(iCount) + " times";
}

PVerdict _judgeCounts(const PCounts& iCounts)
{
    std::string text;
    for (const auto& [name, count] : iCounts)
    {
        text += text.empty() ? "" : "; ";
        text += count > 0 ? "leaks " + std::to_string(count) +
                                (count == 1 ? " reference to " : " references to ") + name
                          : "drops " + name + " " + _times(-count) + " too often";
    }
    return text.empty() ? PVerdict::pass("drops every reference that it takes, once")
                        : PVerdict::fail(text, "hold objects with PBaseptr, and break circles of "
                                               "objects that hold each other");
}
} // namespace

// The objects of the plugin are counted before its library is closed, the others after that,
// because static objects of the library may hold them until then.
PVerdict checkReferences(PTrial& ioTrial)
{
    const PCounts expected = _countsOfOthers(ioTrial);
    const PTestCore& core = ioTrial.startCore(true, true);
    std::unique_ptr<PLibrary> library(ioTrial.load());
    _keepOthers(core, ioTrial);
    PHeldObjects simple = _holdSimple();
    PHeldObjects holders = _holdHolders(ioTrial);
    _holdOwn(ioTrial, holders);
    ioTrial.stopCore();
    ioTrial.phase("releasing its services");
    PCounts counts = _settleOwn(holders, expected);
    ioTrial.phase("closing the library");
    library.reset();
    counts.merge(_settle(holders, expected));
    counts.merge(_settle(simple, expected));
    return _judgeCounts(counts);
}
