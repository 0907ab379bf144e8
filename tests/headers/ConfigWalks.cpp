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

struct ConfigRecorder : SlotRecorder<IConfig>
{
    IXLAL_RECORDED_1(getKeys, Texts&)
    IXLAL_RECORDED_2(getAttributes, Text, Texts&)
    IXLAL_RECORDED_2(getString, Text, PString&)
    IXLAL_RECORDED_2(getInt32, Text, int&)
    IXLAL_RECORDED_2(getUint32, Text, unsigned int&)
    IXLAL_RECORDED_2(getInt64, Text, Int64&)
    IXLAL_RECORDED_2(getUint64, Text, Uint64&)
    IXLAL_RECORDED_2(getBool, Text, bool&)
    IXLAL_RECORDED_3(getBinary, Text, Bytes&, unsigned int&)
    IXLAL_RECORDED_3(getAttrString, Text, Text, PString&)
    IXLAL_RECORDED_3(getAttrInt32, Text, Text, int&)
    IXLAL_RECORDED_3(getAttrUint32, Text, Text, unsigned int&)
    IXLAL_RECORDED_3(getAttrInt64, Text, Text, Int64&)
    IXLAL_RECORDED_3(getAttrUint64, Text, Text, Uint64&)
    IXLAL_RECORDED_3(getAttrBool, Text, Text, bool&)
    IXLAL_RECORDED_4(getAttrBinary, Text, Text, Bytes&, unsigned int&)
};

struct ChangedRecorder : SlotRecorder<IConfigChanged>
{
    EConfigChnagedType getType() const override
    {
        return static_cast<EConfigChnagedType>(call.note("getType"));
    }

    int getID(PString& oID) const override
    {
        return call.note<PString&>("getID", oID);
    }

    int getKey(PString& oKey) const override
    {
        return call.note<PString&>("getKey", oKey);
    }

    int getAttribute(PString& oAttribute) const override
    {
        return call.note<PString&>("getAttribute", oAttribute);
    }
};

struct ManagerRecorder : SlotRecorder<IConfigManager>
{
    IXLAL_RECORDED_1(listIDs, Texts&)
    IXLAL_RECORDED_2(loadByID, Text, Config&)
    IXLAL_RECORDED_2(loadByFile, Text, Config&)
    IXLAL_RECORDED_2(appendByID, Text, Config)
    IXLAL_RECORDED_2(appendByFile, Text, Config)
    IXLAL_RECORDED_3(setString, Text, Text, Text)
    IXLAL_RECORDED_2(removeSetKey, Text, Text)
    IXLAL_RECORDED_3(setInt32, Text, Text, int)
    IXLAL_RECORDED_3(setUint32, Text, Text, unsigned int)
    IXLAL_RECORDED_3(setInt64, Text, Text, Int64)
    IXLAL_RECORDED_3(setUint64, Text, Text, Uint64)
    IXLAL_RECORDED_3(setBool, Text, Text, bool)
    IXLAL_RECORDED_4(setBinary, Text, Text, ConstBytes, unsigned int)
    IXLAL_RECORDED_4(setAttrString, Text, Text, Text, Text)
    IXLAL_RECORDED_3(removeSetAttr, Text, Text, Text)
    IXLAL_RECORDED_4(setAttrInt32, Text, Text, Text, int)
    IXLAL_RECORDED_4(setAttrUint32, Text, Text, Text, unsigned int)
    IXLAL_RECORDED_4(setAttrInt64, Text, Text, Text, Int64)
    IXLAL_RECORDED_4(setAttrUint64, Text, Text, Text, Uint64)
    IXLAL_RECORDED_4(setAttrBool, Text, Text, Text, bool)
    IXLAL_RECORDED_5(setAttrBinary, Text, Text, Text, ConstBytes, unsigned int)
    IXLAL_RECORDED_3(storeString, Text, Text, Text)
    IXLAL_RECORDED_2(removeStoredKey, Text, Text)
    IXLAL_RECORDED_3(storeInt32, Text, Text, int)
    IXLAL_RECORDED_3(storeUint32, Text, Text, unsigned int)
    IXLAL_RECORDED_3(storeInt64, Text, Text, Int64)
    IXLAL_RECORDED_3(storeUint64, Text, Text, Uint64)
    IXLAL_RECORDED_3(storeBool, Text, Text, bool)
    IXLAL_RECORDED_4(storeBinary, Text, Text, ConstBytes, unsigned int)
    IXLAL_RECORDED_4(storeAttrString, Text, Text, Text, Text)
    IXLAL_RECORDED_3(removeStoredAttr, Text, Text, Text)
    IXLAL_RECORDED_4(storeAttrInt32, Text, Text, Text, int)
    IXLAL_RECORDED_4(storeAttrUint32, Text, Text, Text, unsigned int)
    IXLAL_RECORDED_4(storeAttrInt64, Text, Text, Text, Int64)
    IXLAL_RECORDED_4(storeAttrUint64, Text, Text, Text, Uint64)
    IXLAL_RECORDED_4(storeAttrBool, Text, Text, Text, bool)
    IXLAL_RECORDED_5(storeAttrBinary, Text, Text, Text, ConstBytes, unsigned int)
    IXLAL_RECORDED_2(addListener, Text, Text)
    IXLAL_RECORDED_2(removeListener, Text, Text)

    int loadByArgs(const Texts& iArgs, Config& oConfig) override
    {
        return call.note<const Texts&, Config&>("loadByArgs of a vector", iArgs, oConfig);
    }

    int loadByArgs(const PString* iArgs, unsigned int iCount, Config& oConfig) override
    {
        return call.note<const PString*, unsigned int, Config&>("loadByArgs of an array", iArgs,
                                                                iCount, oConfig);
    }

    int appendByArgs(const Texts& iArgs, Config ioConfig) override
    {
        return call.note<const Texts&, Config>("appendByArgs of a vector", iArgs, ioConfig);
    }

    int appendByArgs(const PString* iArgs, unsigned int iCount, Config ioConfig) override
    {
        return call.note<const PString*, unsigned int, Config>("appendByArgs of an array", iArgs,
                                                               iCount, ioConfig);
    }
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
    const auto expect = [&](std::size_t iSlot, const char* iType, auto&... oValue)
    {
        ioWalk.expect<const TNames&..., decltype(oValue)...>(iSlot, (iPrefix + iType).c_str(),
                                                             iNames..., oValue...);
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
    const auto expect = [&](std::size_t iSlot, const char* iType, auto... iValue)
    {
        ioWalk.expect<const TNames&..., decltype(iValue)...>(iSlot, (iPrefix + iType).c_str(),
                                                             iNames..., iValue...);
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
