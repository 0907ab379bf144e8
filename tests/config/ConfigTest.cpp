// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "support/Texts.h"

namespace
{
std::string _textOrCode(int iResult, const PString& iText)
{
    return iResult == 0 ? narrow(iText) : "<" + std::to_string(iResult) + ">";
}
} // namespace

ConfigTest::ConfigTest(PConfigManager* iManager) : holder(iManager), manager(*iManager)
{
    set("ixlap.global", "core.plugins.config.dir", dir.path().string());
}

ConfigTest::~ConfigTest()
{
    manager.cleanup();
}

void ConfigTest::mapIDs(const std::string& iLines) const
{
    dir.write("ixlap.configmanager.prs", iLines + "\nixlap.configmanager.store.file = store.txt\n");
}

PBaseptr<IConfig> ConfigTest::loadID(const std::string& iID, const std::string& iLines)
{
    mapIDs(iID + " = " + iID + ".prs");
    dir.write(iID + ".prs", iLines);
    return byID(iID);
}

PBaseptr<IConfig> ConfigTest::byID(const std::string& iID) const
{
    PBaseptr<IConfig> config;
    EXPECT_EQ(holder->loadByID(wide(iID), config), 0) << iID;
    return config;
}

PBaseptr<IConfig> ConfigTest::byFile(const std::string& iLines) const
{
    PBaseptr<IConfig> config;
    EXPECT_EQ(holder->loadByFile(wide(dir.write("lines.prs", iLines)), config), 0) << iLines;
    return config;
}

PBaseptr<IConfig> ConfigTest::byArgs(const std::vector<std::string>& iArgs) const
{
    std::vector<PString> args;
    args.reserve(iArgs.size());
    for (const std::string& arg : iArgs)
    {
        args.push_back(wide(arg));
    }
    PBaseptr<IConfig> config;
    EXPECT_EQ(holder->loadByArgs(args, config), 0);
    return config;
}

void ConfigTest::set(const std::string& iID, const std::string& iKey,
                     const std::string& iValue) const
{
    EXPECT_EQ(holder->setString(wide(iID), wide(iKey), wide(iValue)), 0) << iID << ' ' << iKey;
}

void ConfigTest::setAttr(const std::string& iID, const std::string& iKey,
                         const std::string& iAttribute, const std::string& iValue) const
{
    EXPECT_EQ(holder->setAttrString(wide(iID), wide(iKey), wide(iAttribute), wide(iValue)), 0)
        << iID << ' ' << iKey;
}

void ConfigTest::store(const std::string& iID, const std::string& iKey,
                       const std::string& iValue) const
{
    EXPECT_EQ(holder->storeString(wide(iID), wide(iKey), wide(iValue)), 0) << iID << ' ' << iKey;
}

void ConfigTest::storeAttr(const std::string& iID, const std::string& iKey,
                           const std::string& iAttribute, const std::string& iValue) const
{
    EXPECT_EQ(holder->storeAttrString(wide(iID), wide(iKey), wide(iAttribute), wide(iValue)), 0)
        << iID << ' ' << iKey;
}

std::string ConfigTest::storeText() const
{
    return dir.read("store.txt");
}

std::string valueOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey)
{
    PString text;
    const int result = iConfig->getString(wide(iKey), text);
    return _textOrCode(result, text);
}

std::string attrOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey,
                   const std::string& iAttribute)
{
    PString text;
    const int result = iConfig->getAttrString(wide(iKey), wide(iAttribute), text);
    return _textOrCode(result, text);
}

std::vector<std::string> keysOf(const PBaseptr<IConfig>& iConfig)
{
    std::vector<PString> keys;
    EXPECT_EQ(iConfig->getKeys(keys), 0);
    return narrow(keys);
}

std::vector<std::string> attributesOf(const PBaseptr<IConfig>& iConfig, const std::string& iKey)
{
    std::vector<PString> attributes;
    EXPECT_EQ(iConfig->getAttributes(wide(iKey), attributes), 0);
    return narrow(attributes);
}

std::vector<std::string> idsOf(PConfigManager& ioManager)
{
    std::vector<PString> ids;
    EXPECT_EQ(ioManager.listIDs(ids), 0);
    return narrow(ids);
}

std::string dynamicOf(PConfigManager& ioManager, const std::string& iID, const std::string& iKey)
{
    PString text;
    const int result = ioManager.getDynamicString(wide(iID), wide(iKey), text);
    return _textOrCode(result, text);
}
