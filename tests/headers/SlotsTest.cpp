#include "IBase.h"
#include "IConfig.h"
#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "ILogger.h"
#include "IPlugin.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace
{
/// The place of a virtual member in its interface, from 1: a pointer to such a member holds its
/// offset in the table plus 1.
template <class TMember>
std::size_t slotOf(TMember iMember)
{
    std::uintptr_t offset = 0;
    std::memcpy(&offset, &iMember, sizeof offset);
    EXPECT_EQ(1u, offset % sizeof(void*)) << "not a virtual member";
    return (offset - 1) / sizeof(void*) + 1;
}

/// Checks that members follow one another from iFirst on.
template <class... TMembers>
void expectSlots(std::size_t iFirst, TMembers... iMembers)
{
    std::size_t expected = iFirst;
    for (const std::size_t slot : {slotOf(iMembers)...})
    {
        EXPECT_EQ(expected, slot);
        ++expected;
    }
}

template <class TInterface>
void expectBaseSlots()
{
    expectSlots(1, &TInterface::incRef, &TInterface::decRef);
}

using Texts = std::vector<PString>;
using Target = PBaseptr<IConfig>;
using Manager = IConfigManager;
} // namespace

TEST(Slots, EveryInterfaceBeginsWithItsCounting)
{
    expectBaseSlots<IBase>();
    expectBaseSlots<IPlugin>();
    expectBaseSlots<IConfig>();
    expectBaseSlots<IConfigManager>();
    expectBaseSlots<IConfigChanged>();
    expectBaseSlots<IEventDispatcher>();
    expectBaseSlots<IEventListener>();
    expectBaseSlots<ILogger>();
}

TEST(Slots, OfPlugin)
{
    expectSlots(3, &IPlugin::init, &IPlugin::getInterfaces, &IPlugin::getInstance);
}

TEST(Slots, OfConfig)
{
    expectSlots(3, &IConfig::getKeys, &IConfig::getAttributes, &IConfig::getString,
                &IConfig::getInt32, &IConfig::getUint32, &IConfig::getInt64, &IConfig::getUint64,
                &IConfig::getBool, &IConfig::getBinary, &IConfig::getAttrString,
                &IConfig::getAttrInt32, &IConfig::getAttrUint32, &IConfig::getAttrInt64,
                &IConfig::getAttrUint64, &IConfig::getAttrBool, &IConfig::getAttrBinary);
}

TEST(Slots, OfLoadingByTheConfigManager)
{
    expectSlots(
        3, &Manager::listIDs, &Manager::loadByID, &Manager::loadByFile,
        static_cast<int (Manager::*)(const Texts&, Target&)>(&Manager::loadByArgs),
        static_cast<int (Manager::*)(const PString*, unsigned int, Target&)>(&Manager::loadByArgs),
        &Manager::appendByID, &Manager::appendByFile,
        static_cast<int (Manager::*)(const Texts&, Target)>(&Manager::appendByArgs),
        static_cast<int (Manager::*)(const PString*, unsigned int, Target)>(
            &Manager::appendByArgs));
}

TEST(Slots, OfRunTimeValuesInTheConfigManager)
{
    expectSlots(12, &Manager::setString, &Manager::removeSetKey, &Manager::setInt32,
                &Manager::setUint32, &Manager::setInt64, &Manager::setUint64, &Manager::setBool,
                &Manager::setBinary, &Manager::setAttrString, &Manager::removeSetAttr,
                &Manager::setAttrInt32, &Manager::setAttrUint32, &Manager::setAttrInt64,
                &Manager::setAttrUint64, &Manager::setAttrBool, &Manager::setAttrBinary);
}

TEST(Slots, OfStoredValuesInTheConfigManager)
{
    expectSlots(28, &Manager::storeString, &Manager::removeStoredKey, &Manager::storeInt32,
                &Manager::storeUint32, &Manager::storeInt64, &Manager::storeUint64,
                &Manager::storeBool, &Manager::storeBinary, &Manager::storeAttrString,
                &Manager::removeStoredAttr, &Manager::storeAttrInt32, &Manager::storeAttrUint32,
                &Manager::storeAttrInt64, &Manager::storeAttrUint64, &Manager::storeAttrBool,
                &Manager::storeAttrBinary);
}

TEST(Slots, OfListenersInTheConfigManager)
{
    expectSlots(44, &Manager::addListener, &Manager::removeListener);
}

TEST(Slots, OfConfigChanged)
{
    expectSlots(3, &IConfigChanged::getType, &IConfigChanged::getID, &IConfigChanged::getKey,
                &IConfigChanged::getAttribute);
}

TEST(Slots, OfEventDispatcher)
{
    expectSlots(3, &IEventDispatcher::addListener, &IEventDispatcher::removeListener,
                &IEventDispatcher::send);
}

TEST(Slots, OfEventListener)
{
    expectSlots(3, &IEventListener::handleEvent);
}

TEST(Slots, OfLogger)
{
    expectSlots(3, &ILogger::getLogger, &ILogger::setLevel, &ILogger::setPrintOnConsole,
                &ILogger::info, &ILogger::error, &ILogger::debug, &ILogger::dumpHex,
                &ILogger::showMsgBox);
}
