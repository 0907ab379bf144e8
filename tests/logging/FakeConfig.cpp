// SPDX-License-Identifier: MIT
#include "logging/FakeConfig.h"

#include "core/PHeldService.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PUtils.h"
#include "support/Texts.h"

std::map<std::string, std::string> FakeConfig::values;
int FakeConfig::instanceResult = 0;
int FakeConfig::loadResult = 0;
bool FakeConfig::noInstance = false;

namespace
{
PCounterSync sReferences(0);

template <class T>
class Counted : public T
{
public:
    int incRef() override
    {
        return ++sReferences;
    }

    int decRef() override
    {
        return sReferences.change(-1);
    }
};

using Text = const PLiteral&;

class Config : public Counted<IConfig>
{
public:
    int getString(Text iKey, PString& oValue) override
    {
        for (const auto& [key, value] : FakeConfig::values)
        {
            if (iKey == wide(key))
            {
                return oValue.set(wide(value));
            }
        }
        return eIxlaNotFound;
    }

    int getInt32(Text iKey, int& oValue) override
    {
        PString text;
        const int result = getString(iKey, text);
        return result != 0 ? result : PUtils::strToInt32(text, oValue);
    }

    int getBool(Text iKey, bool& oValue) override
    {
        PString text;
        const int result = getString(iKey, text);
        return result != 0 ? result : PUtils::strToBool(text, oValue);
    }

    // The logging service has no use for the others.
    int getKeys(std::vector<PString>&) override
    {
        return eIxlaNotFound;
    }

    int getAttributes(Text, std::vector<PString>&) override
    {
        return eIxlaNotFound;
    }

    int getUint32(Text, unsigned int&) override
    {
        return eIxlaNotFound;
    }

    int getInt64(Text, long long&) override
    {
        return eIxlaNotFound;
    }

    int getUint64(Text, unsigned long long&) override
    {
        return eIxlaNotFound;
    }

    int getBinary(Text, unsigned char*&, unsigned int&) override
    {
        return eIxlaNotFound;
    }

    int getAttrString(Text, Text, PString&) override
    {
        return eIxlaNotFound;
    }

    int getAttrInt32(Text, Text, int&) override
    {
        return eIxlaNotFound;
    }

    int getAttrUint32(Text, Text, unsigned int&) override
    {
        return eIxlaNotFound;
    }

    int getAttrInt64(Text, Text, long long&) override
    {
        return eIxlaNotFound;
    }

    int getAttrUint64(Text, Text, unsigned long long&) override
    {
        return eIxlaNotFound;
    }

    int getAttrBool(Text, Text, bool&) override
    {
        return eIxlaNotFound;
    }

    int getAttrBinary(Text, Text, unsigned char*&, unsigned int&) override
    {
        return eIxlaNotFound;
    }
};

Config sConfig;

class Manager : public Counted<IConfigManager>
{
public:
    int loadByID(Text iID, PBaseptr<IConfig>& oConfig) override
    {
        if (FakeConfig::loadResult != 0 || iID != kIxlaGlobalConfigId)
        {
            return FakeConfig::loadResult != 0 ? FakeConfig::loadResult : eIxlaNotFound;
        }
        oConfig = &sConfig;
        return 0;
    }

    // The logging service has no use for the others.
    int listIDs(std::vector<PString>&) override
    {
        return eIxlaNotFound;
    }

    int loadByFile(Text, PBaseptr<IConfig>&) override
    {
        return eIxlaNotFound;
    }

    int loadByArgs(const std::vector<PString>&, PBaseptr<IConfig>&) override
    {
        return eIxlaNotFound;
    }

    int loadByArgs(const PString*, unsigned int, PBaseptr<IConfig>&) override
    {
        return eIxlaNotFound;
    }

    int appendByID(Text, PBaseptr<IConfig>) override
    {
        return eIxlaNotFound;
    }

    int appendByFile(Text, PBaseptr<IConfig>) override
    {
        return eIxlaNotFound;
    }

    int appendByArgs(const std::vector<PString>&, PBaseptr<IConfig>) override
    {
        return eIxlaNotFound;
    }

    int appendByArgs(const PString*, unsigned int, PBaseptr<IConfig>) override
    {
        return eIxlaNotFound;
    }

    int setString(Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int removeSetKey(Text, Text) override
    {
        return eIxlaNotFound;
    }

    int setInt32(Text, Text, int) override
    {
        return eIxlaNotFound;
    }

    int setUint32(Text, Text, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int setInt64(Text, Text, long long) override
    {
        return eIxlaNotFound;
    }

    int setUint64(Text, Text, unsigned long long) override
    {
        return eIxlaNotFound;
    }

    int setBool(Text, Text, bool) override
    {
        return eIxlaNotFound;
    }

    int setBinary(Text, Text, const unsigned char*, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int setAttrString(Text, Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int removeSetAttr(Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int setAttrInt32(Text, Text, Text, int) override
    {
        return eIxlaNotFound;
    }

    int setAttrUint32(Text, Text, Text, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int setAttrInt64(Text, Text, Text, long long) override
    {
        return eIxlaNotFound;
    }

    int setAttrUint64(Text, Text, Text, unsigned long long) override
    {
        return eIxlaNotFound;
    }

    int setAttrBool(Text, Text, Text, bool) override
    {
        return eIxlaNotFound;
    }

    int setAttrBinary(Text, Text, Text, const unsigned char*, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int storeString(Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int removeStoredKey(Text, Text) override
    {
        return eIxlaNotFound;
    }

    int storeInt32(Text, Text, int) override
    {
        return eIxlaNotFound;
    }

    int storeUint32(Text, Text, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int storeInt64(Text, Text, long long) override
    {
        return eIxlaNotFound;
    }

    int storeUint64(Text, Text, unsigned long long) override
    {
        return eIxlaNotFound;
    }

    int storeBool(Text, Text, bool) override
    {
        return eIxlaNotFound;
    }

    int storeBinary(Text, Text, const unsigned char*, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int storeAttrString(Text, Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int removeStoredAttr(Text, Text, Text) override
    {
        return eIxlaNotFound;
    }

    int storeAttrInt32(Text, Text, Text, int) override
    {
        return eIxlaNotFound;
    }

    int storeAttrUint32(Text, Text, Text, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int storeAttrInt64(Text, Text, Text, long long) override
    {
        return eIxlaNotFound;
    }

    int storeAttrUint64(Text, Text, Text, unsigned long long) override
    {
        return eIxlaNotFound;
    }

    int storeAttrBool(Text, Text, Text, bool) override
    {
        return eIxlaNotFound;
    }

    int storeAttrBinary(Text, Text, Text, const unsigned char*, unsigned int) override
    {
        return eIxlaNotFound;
    }

    int addListener(Text, Text) override
    {
        return eIxlaNotFound;
    }

    int removeListener(Text, Text) override
    {
        return eIxlaNotFound;
    }
};

Manager sManager;
} // namespace

void FakeConfig::reset(const std::map<std::string, std::string>& iValues)
{
    values = iValues;
    instanceResult = 0;
    loadResult = 0;
    noInstance = false;
}

int FakeConfig::references()
{
    return sReferences.change(0);
}

int ixlaHoldInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    if (FakeConfig::instanceResult != 0 || iInterfaceId != kIxlaConfigManagerId)
    {
        return FakeConfig::instanceResult != 0 ? FakeConfig::instanceResult : eIxlaUnknownInterface;
    }
    if (FakeConfig::noInstance)
    {
        return eIxlaNoInstance;
    }
    sManager.incRef();
    oInstance = &sManager;
    return 0;
}
