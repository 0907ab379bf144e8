// SPDX-License-Identifier: MIT
#include "IConfig.h"
#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "headers/SlotWalk.h"

namespace
{
typedef const PLiteral& Text;
typedef std::vector<PString> Texts;
typedef PBaseptr<IConfig> Config;
typedef long long Int64;
typedef unsigned long long Uint64;
typedef unsigned char* Bytes;
typedef const unsigned char* ConstBytes;

struct ConfigRecorder : IConfig
{
    int incRef() override
    {
        return call.note("incRef");
    }

    int decRef() override
    {
        return call.note("decRef");
    }

    int getKeys(Texts& oKeys) override
    {
        return call.note("getKeys", &oKeys);
    }

    int getAttributes(Text iKey, Texts& oAttributes) override
    {
        return call.note("getAttributes", &iKey, &oAttributes);
    }

    int getString(Text iKey, PString& oValue) override
    {
        return call.note("getString", &iKey, &oValue);
    }

    int getInt32(Text iKey, int& oValue) override
    {
        return call.note("getInt32", &iKey, &oValue);
    }

    int getUint32(Text iKey, unsigned int& oValue) override
    {
        return call.note("getUint32", &iKey, &oValue);
    }

    int getInt64(Text iKey, Int64& oValue) override
    {
        return call.note("getInt64", &iKey, &oValue);
    }

    int getUint64(Text iKey, Uint64& oValue) override
    {
        return call.note("getUint64", &iKey, &oValue);
    }

    int getBool(Text iKey, bool& oValue) override
    {
        return call.note("getBool", &iKey, &oValue);
    }

    int getBinary(Text iKey, Bytes& oData, unsigned int& oSize) override
    {
        return call.note("getBinary", &iKey, &oData, &oSize);
    }

    int getAttrString(Text iKey, Text iAttribute, PString& oValue) override
    {
        return call.note("getAttrString", &iKey, &iAttribute, &oValue);
    }

    int getAttrInt32(Text iKey, Text iAttribute, int& oValue) override
    {
        return call.note("getAttrInt32", &iKey, &iAttribute, &oValue);
    }

    int getAttrUint32(Text iKey, Text iAttribute, unsigned int& oValue) override
    {
        return call.note("getAttrUint32", &iKey, &iAttribute, &oValue);
    }

    int getAttrInt64(Text iKey, Text iAttribute, Int64& oValue) override
    {
        return call.note("getAttrInt64", &iKey, &iAttribute, &oValue);
    }

    int getAttrUint64(Text iKey, Text iAttribute, Uint64& oValue) override
    {
        return call.note("getAttrUint64", &iKey, &iAttribute, &oValue);
    }

    int getAttrBool(Text iKey, Text iAttribute, bool& oValue) override
    {
        return call.note("getAttrBool", &iKey, &iAttribute, &oValue);
    }

    int getAttrBinary(Text iKey, Text iAttribute, Bytes& oData, unsigned int& oSize) override
    {
        return call.note("getAttrBinary", &iKey, &iAttribute, &oData, &oSize);
    }

    SlotCall call;
};

struct ChangedRecorder : IConfigChanged
{
    int incRef() override
    {
        return call.note("incRef");
    }

    int decRef() override
    {
        return call.note("decRef");
    }

    EConfigChnagedType getType() const override
    {
        return static_cast<EConfigChnagedType>(call.note("getType"));
    }

    int getID(PString& oID) const override
    {
        return call.note("getID", &oID);
    }

    int getKey(PString& oKey) const override
    {
        return call.note("getKey", &oKey);
    }

    int getAttribute(PString& oAttribute) const override
    {
        return call.note("getAttribute", &oAttribute);
    }

    mutable SlotCall call;
};

struct ManagerRecorder : IConfigManager
{
    int incRef() override
    {
        return call.note("incRef");
    }

    int decRef() override
    {
        return call.note("decRef");
    }

    int listIDs(Texts& oIDs) override
    {
        return call.note("listIDs", &oIDs);
    }

    int loadByID(Text iID, Config& oConfig) override
    {
        return call.note("loadByID", &iID, &oConfig);
    }

    int loadByFile(Text iFile, Config& oConfig) override
    {
        return call.note("loadByFile", &iFile, &oConfig);
    }

    int loadByArgs(const Texts& iArgs, Config& oConfig) override
    {
        return call.note("loadByArgs of a vector", &iArgs, &oConfig);
    }

    int loadByArgs(const PString* iArgs, unsigned int iCount, Config& oConfig) override
    {
        return call.note("loadByArgs of an array", iArgs, iCount, &oConfig);
    }

    int appendByID(Text iID, Config ioConfig) override
    {
        return call.note("appendByID", &iID, ioConfig.get());
    }

    int appendByFile(Text iFile, Config ioConfig) override
    {
        return call.note("appendByFile", &iFile, ioConfig.get());
    }

    int appendByArgs(const Texts& iArgs, Config ioConfig) override
    {
        return call.note("appendByArgs of a vector", &iArgs, ioConfig.get());
    }

    int appendByArgs(const PString* iArgs, unsigned int iCount, Config ioConfig) override
    {
        return call.note("appendByArgs of an array", iArgs, iCount, ioConfig.get());
    }

    int setString(Text iID, Text iKey, Text iValue) override
    {
        return call.note("setString", &iID, &iKey, &iValue);
    }

    int removeSetKey(Text iID, Text iKey) override
    {
        return call.note("removeSetKey", &iID, &iKey);
    }

    int setInt32(Text iID, Text iKey, int iValue) override
    {
        return call.note("setInt32", &iID, &iKey, iValue);
    }

    int setUint32(Text iID, Text iKey, unsigned int iValue) override
    {
        return call.note("setUint32", &iID, &iKey, iValue);
    }

    int setInt64(Text iID, Text iKey, Int64 iValue) override
    {
        return call.note("setInt64", &iID, &iKey, iValue);
    }

    int setUint64(Text iID, Text iKey, Uint64 iValue) override
    {
        return call.note("setUint64", &iID, &iKey, iValue);
    }

    int setBool(Text iID, Text iKey, bool iValue) override
    {
        return call.note("setBool", &iID, &iKey, iValue);
    }

    int setBinary(Text iID, Text iKey, ConstBytes iData, unsigned int iSize) override
    {
        return call.note("setBinary", &iID, &iKey, iData, iSize);
    }

    int setAttrString(Text iID, Text iKey, Text iAttribute, Text iValue) override
    {
        return call.note("setAttrString", &iID, &iKey, &iAttribute, &iValue);
    }

    int removeSetAttr(Text iID, Text iKey, Text iAttribute) override
    {
        return call.note("removeSetAttr", &iID, &iKey, &iAttribute);
    }

    int setAttrInt32(Text iID, Text iKey, Text iAttribute, int iValue) override
    {
        return call.note("setAttrInt32", &iID, &iKey, &iAttribute, iValue);
    }

    int setAttrUint32(Text iID, Text iKey, Text iAttribute, unsigned int iValue) override
    {
        return call.note("setAttrUint32", &iID, &iKey, &iAttribute, iValue);
    }

    int setAttrInt64(Text iID, Text iKey, Text iAttribute, Int64 iValue) override
    {
        return call.note("setAttrInt64", &iID, &iKey, &iAttribute, iValue);
    }

    int setAttrUint64(Text iID, Text iKey, Text iAttribute, Uint64 iValue) override
    {
        return call.note("setAttrUint64", &iID, &iKey, &iAttribute, iValue);
    }

    int setAttrBool(Text iID, Text iKey, Text iAttribute, bool iValue) override
    {
        return call.note("setAttrBool", &iID, &iKey, &iAttribute, iValue);
    }

    int setAttrBinary(Text iID, Text iKey, Text iAttribute, ConstBytes iData,
                      unsigned int iSize) override
    {
        return call.note("setAttrBinary", &iID, &iKey, &iAttribute, iData, iSize);
    }

    int storeString(Text iID, Text iKey, Text iValue) override
    {
        return call.note("storeString", &iID, &iKey, &iValue);
    }

    int removeStoredKey(Text iID, Text iKey) override
    {
        return call.note("removeStoredKey", &iID, &iKey);
    }

    int storeInt32(Text iID, Text iKey, int iValue) override
    {
        return call.note("storeInt32", &iID, &iKey, iValue);
    }

    int storeUint32(Text iID, Text iKey, unsigned int iValue) override
    {
        return call.note("storeUint32", &iID, &iKey, iValue);
    }

    int storeInt64(Text iID, Text iKey, Int64 iValue) override
    {
        return call.note("storeInt64", &iID, &iKey, iValue);
    }

    int storeUint64(Text iID, Text iKey, Uint64 iValue) override
    {
        return call.note("storeUint64", &iID, &iKey, iValue);
    }

    int storeBool(Text iID, Text iKey, bool iValue) override
    {
        return call.note("storeBool", &iID, &iKey, iValue);
    }

    int storeBinary(Text iID, Text iKey, ConstBytes iData, unsigned int iSize) override
    {
        return call.note("storeBinary", &iID, &iKey, iData, iSize);
    }

    int storeAttrString(Text iID, Text iKey, Text iAttribute, Text iValue) override
    {
        return call.note("storeAttrString", &iID, &iKey, &iAttribute, &iValue);
    }

    int removeStoredAttr(Text iID, Text iKey, Text iAttribute) override
    {
        return call.note("removeStoredAttr", &iID, &iKey, &iAttribute);
    }

    int storeAttrInt32(Text iID, Text iKey, Text iAttribute, int iValue) override
    {
        return call.note("storeAttrInt32", &iID, &iKey, &iAttribute, iValue);
    }

    int storeAttrUint32(Text iID, Text iKey, Text iAttribute, unsigned int iValue) override
    {
        return call.note("storeAttrUint32", &iID, &iKey, &iAttribute, iValue);
    }

    int storeAttrInt64(Text iID, Text iKey, Text iAttribute, Int64 iValue) override
    {
        return call.note("storeAttrInt64", &iID, &iKey, &iAttribute, iValue);
    }

    int storeAttrUint64(Text iID, Text iKey, Text iAttribute, Uint64 iValue) override
    {
        return call.note("storeAttrUint64", &iID, &iKey, &iAttribute, iValue);
    }

    int storeAttrBool(Text iID, Text iKey, Text iAttribute, bool iValue) override
    {
        return call.note("storeAttrBool", &iID, &iKey, &iAttribute, iValue);
    }

    int storeAttrBinary(Text iID, Text iKey, Text iAttribute, ConstBytes iData,
                        unsigned int iSize) override
    {
        return call.note("storeAttrBinary", &iID, &iKey, &iAttribute, iData, iSize);
    }

    int addListener(Text iID, Text iTopic) override
    {
        return call.note("addListener", &iID, &iTopic);
    }

    int removeListener(Text iID, Text iTopic) override
    {
        return call.note("removeListener", &iID, &iTopic);
    }

    SlotCall call;
};

const PLiteral sID(L"id");
const PLiteral sKey(L"key");
const PLiteral sAttribute(L"attribute");
const unsigned char sBytes[] = {1, 2};

/// The out-arguments of the getters.
struct Values
{
    PString text;
    int int32 = 0;
    unsigned int uint32 = 0;
    Int64 int64 = 0;
    Uint64 uint64 = 0;
    bool truth = false;
    Bytes data = nullptr;
    unsigned int size = 0;
};

/// The seven getters of values from iFirst on; iNames are the texts before the value.
template <class... TNames>
void _walkGetters(SlotWalk& ioWalk, std::size_t iFirst, const std::string& iPrefix,
                  const TNames&... iNames)
{
    Values values;
    const auto expect = [&]<class... TOut>(std::size_t iSlot, const char* iType, TOut&... oValue)
    {
        ioWalk.expect<const TNames&..., TOut&...>(iSlot, (iPrefix + iType).c_str(), iNames...,
                                                  oValue...);
    };
    expect(iFirst, "String", values.text);
    expect(iFirst + 1, "Int32", values.int32);
    expect(iFirst + 2, "Uint32", values.uint32);
    expect(iFirst + 3, "Int64", values.int64);
    expect(iFirst + 4, "Uint64", values.uint64);
    expect(iFirst + 5, "Bool", values.truth);
    expect(iFirst + 6, "Binary", values.data, values.size);
}

/// The eight operations that write or remove one value, from iFirst on.
template <class... TNames>
void _walkSetters(SlotWalk& ioWalk, std::size_t iFirst, const std::string& iPrefix,
                  const char* iRemove, const TNames&... iNames)
{
    const PLiteral text(L"text");
    const auto expect = [&]<class... TValue>(std::size_t iSlot, const char* iType, TValue... iValue)
    {
        ioWalk.expect<const TNames&..., TValue...>(iSlot, (iPrefix + iType).c_str(), iNames...,
                                                   iValue...);
    };
    ioWalk.expect<const TNames&..., Text>(iFirst, (iPrefix + "String").c_str(), iNames..., text);
    ioWalk.expect<const TNames&...>(iFirst + 1, iRemove, iNames...);
    expect(iFirst + 2, "Int32", -32);
    expect(iFirst + 3, "Uint32", 0xfffffffeu);
    expect(iFirst + 4, "Int64", Int64(-0x123456789abcdef));
    expect(iFirst + 5, "Uint64", Uint64(0xfedcba9876543210));
    expect(iFirst + 6, "Bool", true);
    expect(iFirst + 7, "Binary", ConstBytes(sBytes), 2u);
}
} // namespace

std::vector<std::string> walkConfig()
{
    ConfigRecorder recorder;
    SlotWalk walk = beginWalk("IConfig", recorder);
    Texts texts;

    walk.expect<Texts&>(3, "getKeys", texts);
    walk.expect<Text, Texts&>(4, "getAttributes", sKey, texts);
    _walkGetters(walk, 5, "get", sKey);
    _walkGetters(walk, 12, "getAttr", sKey, sAttribute);
    return walk.problems();
}

std::vector<std::string> walkConfigChanged()
{
    ChangedRecorder recorder;
    SlotWalk walk = beginWalk("IConfigChanged", recorder);
    PString text;

    walk.expect(3, "getType");
    walk.expect<PString&>(4, "getID", text);
    walk.expect<PString&>(5, "getKey", text);
    walk.expect<PString&>(6, "getAttribute", text);
    return walk.problems();
}

std::vector<std::string> walkConfigManager()
{
    ManagerRecorder recorder;
    SlotWalk walk = beginWalk("IConfigManager", recorder);
    Texts texts(1);
    ConfigRecorder config;
    Config holder(&config);

    walk.expect<Texts&>(3, "listIDs", texts);
    walk.expect<Text, Config&>(4, "loadByID", sID, holder);
    walk.expect<Text, Config&>(5, "loadByFile", sID, holder);
    walk.expect<const Texts&, Config&>(6, "loadByArgs of a vector", texts, holder);
    walk.expect<const PString*, unsigned int, Config&>(7, "loadByArgs of an array", texts.data(),
                                                       1u, holder);
    walk.expect<Text, Config>(8, "appendByID", sID, holder);
    walk.expect<Text, Config>(9, "appendByFile", sID, holder);
    walk.expect<const Texts&, Config>(10, "appendByArgs of a vector", texts, holder);
    walk.expect<const PString*, unsigned int, Config>(11, "appendByArgs of an array", texts.data(),
                                                      1u, holder);
    _walkSetters(walk, 12, "set", "removeSetKey", sID, sKey);
    _walkSetters(walk, 20, "setAttr", "removeSetAttr", sID, sKey, sAttribute);
    _walkSetters(walk, 28, "store", "removeStoredKey", sID, sKey);
    _walkSetters(walk, 36, "storeAttr", "removeStoredAttr", sID, sKey, sAttribute);
    walk.expect<Text, Text>(44, "addListener", sID, sKey);
    walk.expect<Text, Text>(45, "removeListener", sID, sKey);
    return walk.problems();
}
