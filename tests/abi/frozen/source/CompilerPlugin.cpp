// SPDX-License-Identifier: MIT
// A C++11 plugin that several compilers build and that uses every operation of the services.
// COMPILER_PLUGIN is its name in reported steps and its interface ID.

#include "ICompilerCheck.h"
#include "IConfig.h"
#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PUtils.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

extern "C" int ixlalTestStep(const char* iStep);

#define WIDE_AGAIN(text) L##text
#define WIDE(text) WIDE_AGAIN(text)
#define CHECK(condition) fChecks.that(static_cast<bool>(condition), __LINE__, WIDE(#condition))

namespace
{
typedef std::vector<PString> Texts;

template <class TInterface>
class Counted : public TInterface
{
public:
    virtual ~Counted()
    {
    }

    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

private:
    PCounterSync fRefCount{0};
};

/// Counts checks and records those that failed.
class Checks
{
public:
    explicit Checks(PString& oFailures) : fFailures(oFailures)
    {
    }

    void that(bool iHolds, int iLine, const wchar_t* iCondition)
    {
        ++fCount;
        if (!iHolds)
        {
            PString line;
            if (PUtils::int32ToStr(iLine, line) == 0)
            {
                fFailures += line;
            }
            fFailures += L": ";
            fFailures += iCondition;
            fFailures += L"\n";
        }
    }

    int count() const
    {
        return fCount;
    }

private:
    PString& fFailures;
    int fCount = 0;
};

template <class T>
T* _service(const wchar_t* iID)
{
    IBase* instance = nullptr;
    return ixlaGetInstance(iID, instance) == eIxlaOk ? static_cast<T*>(instance) : nullptr;
}

bool _contains(const Texts& iTexts, const wchar_t* iText)
{
    return std::find(iTexts.begin(), iTexts.end(), PString(iText)) != iTexts.end();
}

/// Counting must go up and down by one, whatever the count is.
bool _counts(IBase* ioObject)
{
    const int before = ioObject->incRef();
    const bool up = ioObject->incRef() == before + 1;
    const bool down = ioObject->decRef() == before;
    ioObject->decRef();
    return up && down;
}

/// The caller owns the bytes of getBinary and getAttrBinary.
bool _isBlock(int iResult, unsigned char* iData, unsigned int iSize)
{
    const PPtr<unsigned char> owner(iData, ePtrArray);
    const unsigned char expected[] = {0, 255, 16};
    return iResult == 0 && iSize == 3 && std::memcmp(iData, expected, 3) == 0;
}

class Listener : public Counted<IEventListener>
{
public:
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override
    {
        ++fEvents;
        fTopic = iTopic;
        fParam1 = iParam1;
        fParam2 = iParam2;
        if (iTopic == L"compilers.changed")
        {
            fChange = static_cast<IConfigChanged*>(iParam1);
        }
        return -77; // ignored
    }

    int fEvents = 0;
    PString fTopic;
    IBase* fParam1 = nullptr;
    int fParam2 = 0;
    PBaseptr<IConfigChanged> fChange;
};

class ConfigCheck
{
public:
    ConfigCheck(const PLiteral& iID, Checks& ioChecks)
        : fID(iID), fChecks(ioChecks), fManager(_service<IConfigManager>(kIxlaConfigManagerId))
    {
    }

    void run(const PLiteral& iFile)
    {
        CHECK(fManager);
        CHECK(_counts(fManager.get()));
        checkLoading(iFile);
        checkAppending(iFile);
        checkRunTimeValues();
        checkRunTimeAttributes();
        checkRemoval();
        checkStoredValues();
        checkStoredAttributes();
    }

private:
    static Texts lines(const wchar_t* iPrefix)
    {
        const wchar_t* const values[] = {L"text=some words",
                                         L"int32=-2147483648",
                                         L"uint32=4294967295",
                                         L"int64=-9223372036854775807",
                                         L"uint64=18446744073709551615",
                                         L"bool=yes",
                                         L"binary=00ff10"};
        Texts texts;
        for (const wchar_t* value : values)
        {
            texts.push_back(PString(iPrefix));
            texts.back() += value;
        }
        return texts;
    }

    static Texts arguments()
    {
        Texts texts = lines(L"");
        const Texts attributes = lines(L"text:");
        texts.insert(texts.end(), attributes.begin(), attributes.end());
        return texts;
    }

    /// Checks the values of lines(), read from keys that start with iPrefix.
    void checkGetters(const PBaseptr<IConfig>& iConfig, const wchar_t* iPrefix)
    {
        PString text;
        int int32 = 0;
        unsigned int uint32 = 0;
        long long int64 = 0;
        unsigned long long uint64 = 0;
        bool truth = false;
        unsigned char* data = nullptr;
        unsigned int size = 0;
        const auto key = [&](const wchar_t* iName)
        {
            PString name(iPrefix);
            name += iName;
            return name;
        };
        CHECK(iConfig->getString(key(L"text"), text) == 0 && text == L"some words");
        CHECK(iConfig->getInt32(key(L"int32"), int32) == 0 && int32 == INT_MIN);
        CHECK(iConfig->getUint32(key(L"uint32"), uint32) == 0 && uint32 == UINT_MAX);
        CHECK(iConfig->getInt64(key(L"int64"), int64) == 0 && int64 == -LLONG_MAX);
        CHECK(iConfig->getUint64(key(L"uint64"), uint64) == 0 && uint64 == ULLONG_MAX);
        CHECK(iConfig->getBool(key(L"bool"), truth) == 0 && truth);
        const int result = iConfig->getBinary(key(L"binary"), data, size);
        CHECK(_isBlock(result, data, size));
    }

    void checkAttributeGetters(const PBaseptr<IConfig>& iConfig, const PLiteral& iKey)
    {
        PString text;
        int int32 = 0;
        unsigned int uint32 = 0;
        long long int64 = 0;
        unsigned long long uint64 = 0;
        bool truth = false;
        unsigned char* data = nullptr;
        unsigned int size = 0;
        CHECK(iConfig->getAttrString(iKey, L"text", text) == 0 && text == L"some words");
        CHECK(iConfig->getAttrInt32(iKey, L"int32", int32) == 0 && int32 == INT_MIN);
        CHECK(iConfig->getAttrUint32(iKey, L"uint32", uint32) == 0 && uint32 == UINT_MAX);
        CHECK(iConfig->getAttrInt64(iKey, L"int64", int64) == 0 && int64 == -LLONG_MAX);
        CHECK(iConfig->getAttrUint64(iKey, L"uint64", uint64) == 0 && uint64 == ULLONG_MAX);
        CHECK(iConfig->getAttrBool(iKey, L"bool", truth) == 0 && truth);
        const int result = iConfig->getAttrBinary(iKey, L"binary", data, size);
        CHECK(_isBlock(result, data, size));
    }

    /// A configuration with all of arguments().
    void checkWhole(const PBaseptr<IConfig>& iConfig)
    {
        CHECK(iConfig);
        if (!iConfig)
        {
            return;
        }
        CHECK(_counts(iConfig.get()));
        Texts keys;
        CHECK(iConfig->getKeys(keys) == 0 && keys.size() >= 7 && _contains(keys, L"uint64"));
        Texts attributes;
        CHECK(iConfig->getAttributes(L"text", attributes) == 0 && attributes.size() == 7);
        CHECK(_contains(attributes, L"binary"));
        checkGetters(iConfig, L"");
        checkAttributeGetters(iConfig, L"text");
    }

    void checkLoading(const PLiteral& iFile)
    {
        const Texts texts = arguments();
        const unsigned int count = static_cast<unsigned int>(texts.size());
        PBaseptr<IConfig> config;
        CHECK(fManager->loadByID(fID, config) == 0);
        checkWhole(config);
        Texts ids;
        CHECK(fManager->listIDs(ids) == 0 && _contains(ids, fID));
        CHECK(fManager->loadByFile(iFile, config) == 0);
        checkWhole(config);
        CHECK(fManager->loadByArgs(texts, config) == 0);
        checkWhole(config);
        CHECK(fManager->loadByArgs(texts.data(), count, config) == 0);
        checkWhole(config);
    }

    /// A configuration with one other key, to append to.
    PBaseptr<IConfig> other()
    {
        const PString argument(L"other=1");
        PBaseptr<IConfig> config;
        CHECK(fManager->loadByArgs(&argument, 1, config) == 0);
        return config;
    }

    void checkAppended(int iResult, const PBaseptr<IConfig>& iConfig)
    {
        int value = 0;
        CHECK(iResult == 0);
        CHECK(iConfig->getInt32(L"other", value) == 0 && value == 1);
        checkWhole(iConfig);
    }

    void checkAppending(const PLiteral& iFile)
    {
        const Texts texts = arguments();
        const unsigned int count = static_cast<unsigned int>(texts.size());
        PBaseptr<IConfig> config = other();
        checkAppended(fManager->appendByID(fID, config), config);
        config = other();
        checkAppended(fManager->appendByFile(iFile, config), config);
        config = other();
        checkAppended(fManager->appendByArgs(texts, config), config);
        config = other();
        checkAppended(fManager->appendByArgs(texts.data(), count, config), config);
    }

    PBaseptr<IConfig> own()
    {
        PBaseptr<IConfig> config;
        CHECK(fManager->loadByID(fID, config) == 0);
        return config;
    }

    void checkRunTimeValues()
    {
        const unsigned char bytes[] = {0, 255, 16};
        CHECK(fManager->setString(fID, L"set.text", L"some words") == 0);
        CHECK(fManager->setInt32(fID, L"set.int32", INT_MIN) == 0);
        CHECK(fManager->setUint32(fID, L"set.uint32", UINT_MAX) == 0);
        CHECK(fManager->setInt64(fID, L"set.int64", -LLONG_MAX) == 0);
        CHECK(fManager->setUint64(fID, L"set.uint64", ULLONG_MAX) == 0);
        CHECK(fManager->setBool(fID, L"set.bool", true) == 0);
        CHECK(fManager->setBinary(fID, L"set.binary", bytes, 3) == 0);
        checkGetters(own(), L"set.");
    }

    void checkRunTimeAttributes()
    {
        const unsigned char bytes[] = {0, 255, 16};
        const PLiteral key(L"set.text");
        CHECK(fManager->setAttrString(fID, key, L"text", L"some words") == 0);
        CHECK(fManager->setAttrInt32(fID, key, L"int32", INT_MIN) == 0);
        CHECK(fManager->setAttrUint32(fID, key, L"uint32", UINT_MAX) == 0);
        CHECK(fManager->setAttrInt64(fID, key, L"int64", -LLONG_MAX) == 0);
        CHECK(fManager->setAttrUint64(fID, key, L"uint64", ULLONG_MAX) == 0);
        CHECK(fManager->setAttrBool(fID, key, L"bool", true) == 0);
        CHECK(fManager->setAttrBinary(fID, key, L"binary", bytes, 3) == 0);
        checkAttributeGetters(own(), key);
    }

    void checkRemoval()
    {
        const PBaseptr<IConfig> config = own();
        PString text;
        CHECK(fManager->removeSetAttr(fID, L"set.text", L"int32") == 0);
        CHECK(config->getAttrString(L"set.text", L"int32", text) == eIxlaNotFound);
        CHECK(config->getAttrString(L"set.text", L"uint32", text) == 0);
        CHECK(fManager->removeSetKey(fID, L"set.text") == 0);
        CHECK(config->getString(L"set.text", text) == eIxlaNotFound);
        CHECK(config->getString(L"set.int32", text) == 0);
    }

    // Only the store file shows the stored values; the test reads it.
    void checkStoredValues()
    {
        const unsigned char bytes[] = {0, 255, 16};
        CHECK(fManager->storeString(fID, L"kept", L"some words") == 0);
        CHECK(fManager->storeInt32(fID, L"kept.int32", INT_MIN) == 0);
        CHECK(fManager->storeUint32(fID, L"kept.uint32", UINT_MAX) == 0);
        CHECK(fManager->storeInt64(fID, L"kept.int64", -LLONG_MAX) == 0);
        CHECK(fManager->storeUint64(fID, L"kept.uint64", ULLONG_MAX) == 0);
        CHECK(fManager->storeBool(fID, L"kept.bool", true) == 0);
        CHECK(fManager->storeBinary(fID, L"kept.binary", bytes, 3) == 0);
        CHECK(fManager->storeString(fID, L"removed", L"some words") == 0);
        CHECK(fManager->removeStoredKey(fID, L"removed") == 0);
    }

    void checkStoredAttributes()
    {
        const unsigned char bytes[] = {0, 255, 16};
        CHECK(fManager->storeAttrString(fID, L"kept", L"text", L"some words") == 0);
        CHECK(fManager->storeAttrInt32(fID, L"kept", L"int32", INT_MIN) == 0);
        CHECK(fManager->storeAttrUint32(fID, L"kept", L"uint32", UINT_MAX) == 0);
        CHECK(fManager->storeAttrInt64(fID, L"kept", L"int64", -LLONG_MAX) == 0);
        CHECK(fManager->storeAttrUint64(fID, L"kept", L"uint64", ULLONG_MAX) == 0);
        CHECK(fManager->storeAttrBool(fID, L"kept", L"bool", true) == 0);
        CHECK(fManager->storeAttrBinary(fID, L"kept", L"binary", bytes, 3) == 0);
        CHECK(fManager->storeAttrString(fID, L"kept", L"removed", L"some words") == 0);
        CHECK(fManager->removeStoredAttr(fID, L"kept", L"removed") == 0);
    }

    const PLiteral& fID;
    Checks& fChecks;
    PBaseptr<IConfigManager> fManager;
};

class EventCheck
{
public:
    EventCheck(const PLiteral& iID, Checks& ioChecks)
        : fID(iID),
          fChecks(ioChecks),
          fListener(new Listener),
          fDispatcher(_service<IEventDispatcher>(kIxlaEventDispatcherId)),
          fManager(_service<IConfigManager>(kIxlaConfigManagerId))
    {
    }

    void run()
    {
        CHECK(fDispatcher);
        CHECK(_counts(fDispatcher.get()));
        checkDelivery();
        checkChanges();
    }

private:
    void checkDelivery()
    {
        const PLiteral topic(L"compilers.topic");
        CHECK(fDispatcher->send(topic, nullptr, 0) == eIxlaNoListener);
        CHECK(fDispatcher->addListener(topic, fListener.get()) == 0);
        CHECK(fDispatcher->addListener(topic, fListener.get()) == eIxlaListenerExists);
        CHECK(fDispatcher->send(topic, fDispatcher.get(), INT_MIN) == 0);
        CHECK(fListener->fEvents == 1 && fListener->fTopic == topic);
        CHECK(fListener->fParam1 == fDispatcher.get() && fListener->fParam2 == INT_MIN);
        CHECK(fDispatcher->removeListener(topic, fListener.get()) == 0);
        CHECK(fDispatcher->removeListener(topic, fListener.get()) == eIxlaNoListener);
    }

    void checkChanges()
    {
        const PLiteral topic(L"compilers.changed");
        CHECK(fManager->addListener(fID, topic) == 0);
        CHECK(fManager->addListener(fID, topic) == eIxlaAlreadyRegistered);
        CHECK(fDispatcher->addListener(topic, fListener.get()) == 0);
        CHECK(fManager->setString(fID, L"watched", L"1") == 0);
        checkChange(IConfigChanged::eValueSet, L"");
        CHECK(fManager->setAttrString(fID, L"watched", L"unit", L"s") == 0);
        checkChange(IConfigChanged::eAttributeSet, L"unit");
        CHECK(fManager->removeListener(fID, topic) == 0);
        CHECK(fManager->removeListener(fID, topic) == eIxlaNotFound);
        CHECK(fDispatcher->removeListener(topic, fListener.get()) == 0);
    }

    void checkChange(IConfigChanged::EConfigChnagedType iType, const PLiteral& iAttribute)
    {
        const PBaseptr<IConfigChanged> change = fListener->fChange;
        PString text;
        CHECK(change);
        if (!change)
        {
            return;
        }
        CHECK(_counts(change.get()));
        CHECK(change->getType() == iType);
        CHECK(change->getID(text) == 0 && text == fID);
        CHECK(change->getKey(text) == 0 && text == L"watched");
        CHECK(change->getAttribute(text) == 0 && text == iAttribute);
    }

    const PLiteral& fID;
    Checks& fChecks;
    PBaseptr<Listener> fListener;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IConfigManager> fManager;
};

/// The lines go to the file that is named after the ID; the test reads it.
class LogCheck
{
public:
    LogCheck(const PLiteral& iID, Checks& ioChecks) : fID(iID), fChecks(ioChecks)
    {
    }

    void run()
    {
        const PBaseptr<ILogger> shared(_service<ILogger>(kIxlaLoggerId));
        CHECK(shared);
        CHECK(_counts(shared.get()));
        PBaseptr<ILogger> logger;
        CHECK(shared->getLogger(fID, logger) == 0 && logger);
        PBaseptr<ILogger> same;
        CHECK(logger->getLogger(fID, same) == 0 && same.get() == logger.get());
        CHECK(_counts(logger.get()));
        checkLines(logger);
    }

private:
    void checkLines(const PBaseptr<ILogger>& iLogger)
    {
        const long long big = 123456789012345;
        CHECK(iLogger->setPrintOnConsole(false) == 0);
        CHECK(iLogger->setLevel(1) == 0);
        CHECK(iLogger->info(1, L"info %d %ls %s", -1, L"wide", "narrow") == 0);
        CHECK(iLogger->info(2, L"hidden") == 0);
        CHECK(iLogger->error(9, L"error %lld %u %.2f", big, UINT_MAX, 0.25) == 0);
        CHECK(iLogger->debug(0, L"debug %c %x", 'c', 0xabcu) == 0);
        CHECK(iLogger->dumpHex(0, "\x01\xfe", 2, 8) == 0);
        CHECK(iLogger->showMsgBox(0, L"message %d", 5) == 0);
    }

    const PLiteral& fID;
    Checks& fChecks;
};

class CompilerCheck : public Counted<ICompilerCheck>
{
public:
    explicit CompilerCheck(IPlugin* iPlugin) : fPlugin(iPlugin)
    {
    }

    int check(const PLiteral& iID, const PLiteral& iFile, PString& oFailures) override
    {
        Checks checks(oFailures);
        ConfigCheck(iID, checks).run(iFile);
        EventCheck(iID, checks).run();
        LogCheck(iID, checks).run();
        return checks.count();
    }

    IPlugin* getPlugin() override
    {
        return fPlugin;
    }

private:
    IPlugin* fPlugin;
};

class CompilerPlugin : public Counted<IPlugin>
{
public:
    ~CompilerPlugin() override
    {
        fCheck.clear();
        ixlalTestStep(COMPILER_PLUGIN ".destroyed");
    }

    int init() override
    {
        fCheck = new CompilerCheck(this);
        return ixlalTestStep(COMPILER_PLUGIN ".init");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        PString* const ids = new PString[1];
        ids[0] = WIDE(COMPILER_PLUGIN);
        oCount = 1;
        return ids;
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        const bool known = iInterfaceId == WIDE(COMPILER_PLUGIN);
        oInstance = known ? fCheck.get() : nullptr;
        return known ? eIxlaOk : eIxlaUnknownInterface;
    }

private:
    PBaseptr<ICompilerCheck> fCheck;
};

struct Mapping
{
    ~Mapping()
    {
        ixlalTestStep(COMPILER_PLUGIN ".unmapped");
    }
};

const Mapping sMapping;
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new CompilerPlugin;
}
