// SPDX-License-Identifier: MIT
#include "logging/FakeConfig.h"

#include "core/PHeldService.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PUtils.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

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

    // The logging service does not call the others.
    MOCK_METHOD(int, getKeys, (std::vector<PString>&), (override));
    MOCK_METHOD(int, getAttributes, (Text, std::vector<PString>&), (override));
    MOCK_METHOD(int, getUint32, (Text, unsigned int&), (override));
    MOCK_METHOD(int, getInt64, (Text, long long&), (override));
    MOCK_METHOD(int, getUint64, (Text, unsigned long long&), (override));
    MOCK_METHOD(int, getBinary, (Text, unsigned char*&, unsigned int&), (override));
    MOCK_METHOD(int, getAttrString, (Text, Text, PString&), (override));
    MOCK_METHOD(int, getAttrInt32, (Text, Text, int&), (override));
    MOCK_METHOD(int, getAttrUint32, (Text, Text, unsigned int&), (override));
    MOCK_METHOD(int, getAttrInt64, (Text, Text, long long&), (override));
    MOCK_METHOD(int, getAttrUint64, (Text, Text, unsigned long long&), (override));
    MOCK_METHOD(int, getAttrBool, (Text, Text, bool&), (override));
    MOCK_METHOD(int, getAttrBinary, (Text, Text, unsigned char*&, unsigned int&), (override));
};

testing::StrictMock<Config> sConfig;

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

    // The logging service does not call the others.
    MOCK_METHOD(int, listIDs, (std::vector<PString>&), (override));
    MOCK_METHOD(int, loadByFile, (Text, PBaseptr<IConfig>&), (override));
    MOCK_METHOD(int, loadByArgs, (const std::vector<PString>&, PBaseptr<IConfig>&), (override));
    MOCK_METHOD(int, loadByArgs, (const PString*, unsigned int, PBaseptr<IConfig>&), (override));
    MOCK_METHOD(int, appendByID, (Text, PBaseptr<IConfig>), (override));
    MOCK_METHOD(int, appendByFile, (Text, PBaseptr<IConfig>), (override));
    MOCK_METHOD(int, appendByArgs, (const std::vector<PString>&, PBaseptr<IConfig>), (override));
    MOCK_METHOD(int, appendByArgs, (const PString*, unsigned int, PBaseptr<IConfig>), (override));
    MOCK_METHOD(int, setString, (Text, Text, Text), (override));
    MOCK_METHOD(int, removeSetKey, (Text, Text), (override));
    MOCK_METHOD(int, setInt32, (Text, Text, int), (override));
    MOCK_METHOD(int, setUint32, (Text, Text, unsigned int), (override));
    MOCK_METHOD(int, setInt64, (Text, Text, long long), (override));
    MOCK_METHOD(int, setUint64, (Text, Text, unsigned long long), (override));
    MOCK_METHOD(int, setBool, (Text, Text, bool), (override));
    MOCK_METHOD(int, setBinary, (Text, Text, const unsigned char*, unsigned int), (override));
    MOCK_METHOD(int, setAttrString, (Text, Text, Text, Text), (override));
    MOCK_METHOD(int, removeSetAttr, (Text, Text, Text), (override));
    MOCK_METHOD(int, setAttrInt32, (Text, Text, Text, int), (override));
    MOCK_METHOD(int, setAttrUint32, (Text, Text, Text, unsigned int), (override));
    MOCK_METHOD(int, setAttrInt64, (Text, Text, Text, long long), (override));
    MOCK_METHOD(int, setAttrUint64, (Text, Text, Text, unsigned long long), (override));
    MOCK_METHOD(int, setAttrBool, (Text, Text, Text, bool), (override));
    MOCK_METHOD(int, setAttrBinary, (Text, Text, Text, const unsigned char*, unsigned int),
                (override));
    MOCK_METHOD(int, storeString, (Text, Text, Text), (override));
    MOCK_METHOD(int, removeStoredKey, (Text, Text), (override));
    MOCK_METHOD(int, storeInt32, (Text, Text, int), (override));
    MOCK_METHOD(int, storeUint32, (Text, Text, unsigned int), (override));
    MOCK_METHOD(int, storeInt64, (Text, Text, long long), (override));
    MOCK_METHOD(int, storeUint64, (Text, Text, unsigned long long), (override));
    MOCK_METHOD(int, storeBool, (Text, Text, bool), (override));
    MOCK_METHOD(int, storeBinary, (Text, Text, const unsigned char*, unsigned int), (override));
    MOCK_METHOD(int, storeAttrString, (Text, Text, Text, Text), (override));
    MOCK_METHOD(int, removeStoredAttr, (Text, Text, Text), (override));
    MOCK_METHOD(int, storeAttrInt32, (Text, Text, Text, int), (override));
    MOCK_METHOD(int, storeAttrUint32, (Text, Text, Text, unsigned int), (override));
    MOCK_METHOD(int, storeAttrInt64, (Text, Text, Text, long long), (override));
    MOCK_METHOD(int, storeAttrUint64, (Text, Text, Text, unsigned long long), (override));
    MOCK_METHOD(int, storeAttrBool, (Text, Text, Text, bool), (override));
    MOCK_METHOD(int, storeAttrBinary, (Text, Text, Text, const unsigned char*, unsigned int),
                (override));
    MOCK_METHOD(int, addListener, (Text, Text), (override));
    MOCK_METHOD(int, removeListener, (Text, Text), (override));
};

testing::StrictMock<Manager> sManager;
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
