// SPDX-License-Identifier: MIT
#include "PBaseptr.h"
#include "PPtr.h"
#include "config/PConfig.h"
#include "config/PConfigChanged.h"
#include "config/PConfigManager.h"
#include "config/PConfigPlugin.h"
#include "core/PCore.h"
#include "core/PCorePlugin.h"
#include "events/PEventDispatcher.h"
#include "events/PEventDispatcherPlugin.h"
#include "logging/PLoggerImpl.h"
#include "logging/PLoggerPlugin.h"
#include "portinglayer/PLibrary.h"
#include "support/Slots.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

// Both forms of a destructor, by symbol: D1 destroys the object, D0 also frees its memory.
#define DESTRUCTOR_FORMS(iName, iMangled)                                                          \
    extern "C" void iName##Complete() __asm__("_ZN" iMangled "D1Ev");                              \
    extern "C" void iName##Deleting() __asm__("_ZN" iMangled "D0Ev");

#define EXPECT_DESTRUCTOR_SLOTS(iFirst, iObject, iName)                                            \
    EXPECT_EQ(reinterpret_cast<void*>(&iName##Complete), slotOf(iObject, iFirst));                 \
    EXPECT_EQ(reinterpret_cast<void*>(&iName##Deleting), slotOf(iObject, iFirst + 1))

DESTRUCTOR_FORMS(config, "7PConfig")
DESTRUCTOR_FORMS(configManager, "14PConfigManager")
DESTRUCTOR_FORMS(configPlugin, "13PConfigPlugin")
DESTRUCTOR_FORMS(core, "5PCore")
DESTRUCTOR_FORMS(corePlugin, "11PCorePlugin")
DESTRUCTOR_FORMS(eventDispatcher, "16PEventDispatcher")
DESTRUCTOR_FORMS(eventDispatcherPlugin, "22PEventDispatcherPlugin")
DESTRUCTOR_FORMS(library, "8PLibrary")
DESTRUCTOR_FORMS(loggerImpl, "11PLoggerImpl")
DESTRUCTOR_FORMS(string, "7PString")

namespace
{
constexpr std::size_t sInterface = 1;     // before all operations
constexpr std::size_t sBehindPlugin = 6;  // after the operations of IPlugin
constexpr std::size_t sBehindConfig = 19; // after those of IConfig
constexpr std::size_t sBehindConfigManager = 46;
constexpr std::size_t sBehindDispatcher = 6;
constexpr std::size_t sBehindLogger = 11;

/// Memory for one object, so that destroying the object and freeing the memory can be separated.
template <class T>
class Place
{
public:
    template <class... TArguments>
    T* make(TArguments&&... iArguments)
    {
        return new (fBytes) T(std::forward<TArguments>(iArguments)...);
    }

private:
    alignas(T) unsigned char fBytes[sizeof(T)];
};

/// Destroys one object through each of the two slots. The sanitizers detect leaks and wrong frees.
template <class T, class... TArguments>
void destroyThroughSlots(std::size_t iFirst, const TArguments&... iArguments)
{
    Place<T> place;
    callSlot<void>(place.make(iArguments...), iFirst);
    callSlot<void>(new T(iArguments...), iFirst + 1);
}

struct Counted : IBase
{
    int incRef() override
    {
        return ++references;
    }

    int decRef() override
    {
        return --references;
    }

    int references = 0;
};

/// Counts the calls of a destructor.
struct Watched
{
    virtual ~Watched()
    {
        ++sDestroyed;
    }

    static int sDestroyed;
};

int Watched::sDestroyed = 0;
} // namespace

TEST(DestructorSlots, FollowTheInterfaceOfTheConfiguration)
{
    const PBaseptr<PConfig> config(new PConfig(nullptr, L"id"));

    EXPECT_DESTRUCTOR_SLOTS(sBehindConfig, config.get(), config);
    destroyThroughSlots<PConfig>(sBehindConfig, nullptr, L"id");
}

TEST(DestructorSlots, OfAConfigurationReleaseTheManager)
{
    const PBaseptr<IConfigManager> manager(new PConfigManager);
    IConfigManager* const kept = manager.get();
    kept->incRef();

    destroyThroughSlots<PConfig>(sBehindConfig, kept, L"id");

    EXPECT_EQ(1, kept->decRef());
}

TEST(DestructorSlots, FollowTheInterfaceOfTheConfigManager)
{
    const PBaseptr<PConfigManager> manager(new PConfigManager);

    EXPECT_DESTRUCTOR_SLOTS(sBehindConfigManager, manager.get(), configManager);
    destroyThroughSlots<PConfigManager>(sBehindConfigManager);
}

TEST(DestructorSlots, FollowTheInterfaceOfTheEventDispatcher)
{
    const PBaseptr<PEventDispatcher> dispatcher(new PEventDispatcher);

    EXPECT_DESTRUCTOR_SLOTS(sBehindDispatcher, dispatcher.get(), eventDispatcher);
    destroyThroughSlots<PEventDispatcher>(sBehindDispatcher);
}

TEST(DestructorSlots, FollowTheInterfaceOfTheLogger)
{
    const TempDir dir;
    const PString file = dir.wideFile("test.log");
    const PBaseptr<PLoggerImpl> logger(new PLoggerImpl(file, L"tag", 0, 0, 0, true, nullptr));

    EXPECT_DESTRUCTOR_SLOTS(sBehindLogger, logger.get(), loggerImpl);
    destroyThroughSlots<PLoggerImpl>(sBehindLogger, file, L"tag", 0u, 0, 0, true, nullptr);
}

TEST(DestructorSlots, FollowTheInterfaceOfPluginsOfTheCore)
{
    const PBaseptr<IPlugin> configs(new PConfigPlugin);
    const PBaseptr<IPlugin> events(new PEventDispatcherPlugin);

    EXPECT_DESTRUCTOR_SLOTS(sBehindPlugin, configs.get(), configPlugin);
    EXPECT_DESTRUCTOR_SLOTS(sBehindPlugin, events.get(), eventDispatcherPlugin);
    destroyThroughSlots<PConfigPlugin>(sBehindPlugin);
    destroyThroughSlots<PEventDispatcherPlugin>(sBehindPlugin);
}

TEST(DestructorSlots, AreTheFirstOfTheCoreAndItsRecords)
{
    const PCorePlugin record;
    const std::unique_ptr<PCore> core(new PCore);

    EXPECT_DESTRUCTOR_SLOTS(sInterface, &record, corePlugin);
    EXPECT_DESTRUCTOR_SLOTS(sInterface, core.get(), core);
    destroyThroughSlots<PCorePlugin>(sInterface);
    destroyThroughSlots<PCore>(sInterface);
}

TEST(DestructorSlots, AreTheFirstOfTextsAndLibraries)
{
    const PString text(L"a text that is on the heap");
    PLibrary* library = nullptr;
    ASSERT_EQ(0, PLibrary::load(wide(IXLAL_TEST_LIBRARY), library, true));

    EXPECT_DESTRUCTOR_SLOTS(sInterface, &text, string);
    EXPECT_DESTRUCTOR_SLOTS(sInterface, library, library);
    destroyThroughSlots<PString>(sInterface, text);
    callSlot<void>(library, sInterface + 1);
}

TEST(DestructorSlots, AreInNoOtherSlot)
{
    const PBaseptr<PConfig> config(new PConfig(nullptr, L"id"));

    for (std::size_t slot = 1; slot < sBehindConfig; ++slot)
    {
        EXPECT_NE(reinterpret_cast<void*>(&configComplete), slotOf(config.get(), slot));
        EXPECT_NE(reinterpret_cast<void*>(&configDeleting), slotOf(config.get(), slot));
    }
}

// Two classes have no virtual destructor: see the test of the lengths of the tables.
static_assert(!std::has_virtual_destructor<PConfigChanged>::value, "destroys itself");
static_assert(!std::has_virtual_destructor<PLoggerPlugin>::value, "destroys itself");

TEST(DestructorSlots, OfAnObjectHolderComeBeforeItsHooks)
{
    Watched::sDestroyed = 0;
    Place<PPtr<Watched>> place;

    PPtr<Watched>* const holder = place.make(new Watched);
    callSlot<void>(holder, 3);
    EXPECT_EQ(1u, holder->holders());
    callSlot<void>(holder, 1);
    EXPECT_EQ(1, Watched::sDestroyed);

    callSlot<void>(new PPtr<Watched>(new Watched), 2);
    EXPECT_EQ(2, Watched::sDestroyed);

    struct Freed : PPtr<Watched>
    {
        using PPtr<Watched>::fPtr;
    } freed;
    freed.fPtr = new Watched;
    callSlot<void>(&freed, 4);
    EXPECT_EQ(3, Watched::sDestroyed);
    freed.fPtr = nullptr;
    // cppcheck-suppress memleak ; the slot destroys it
}

TEST(DestructorSlots, OfAnInterfaceHolderComeBeforeItsHooks)
{
    Counted object;
    Place<PBaseptr<IBase>> place;

    PBaseptr<IBase>* const holder = place.make(&object);
    ASSERT_EQ(1, object.references);
    callSlot<void>(holder, 3);
    EXPECT_EQ(2, object.references);
    callSlot<void>(holder, 4);
    EXPECT_EQ(1, object.references);
    callSlot<void>(holder, 1);
    EXPECT_EQ(0, object.references);

    callSlot<void>(new PBaseptr<IBase>(&object), 2);
    EXPECT_EQ(0, object.references);
}
