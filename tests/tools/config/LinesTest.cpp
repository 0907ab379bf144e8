// SPDX-License-Identifier: MIT
// The tool's own reading of lines against the core's.

#include "IConfigManager.h"
#include "Ixla.h"
#include "shared/PConfigFile.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace
{
/// What a configuration says: texts by key, or by key and attribute.
typedef std::map<std::string, std::string> Texts;

/// Lines put together from what matters to the parser.
std::string randomFile(std::mt19937& ioRandom)
{
    static const std::vector<std::string> kParts = {"a",       "b",         "=",
                                                    ":",       "=",         " ",
                                                    "\t",      "\n",        "\n",
                                                    "\r\n",    "\r",        "#",
                                                    "const",   "1",         "\xEF\xBB\xBF",
                                                    "\xFF",    "\xC3\xA4",  "\xC0\x8A",
                                                    "a = 1\n", "a:b = 2\n", std::string(1, '\0')};
    std::string bytes;
    for (unsigned int left = ioRandom() % 24; left > 0; --left)
    {
        bytes += kParts[ioRandom() % kParts.size()];
    }
    return bytes;
}

Texts readByTool(const PConfigFile& iFile)
{
    Texts texts;
    for (const ConfigLine& line : iFile.lines())
    {
        const std::string key = narrow(line.key.text);
        if (line.kind != ConfigLine::eEntry || !iFile.isRead(line))
        {
            continue;
        }
        if (line.attribute.text.len() == 0)
        {
            texts[key] = narrow(line.value.text);
            continue;
        }
        texts.emplace(key, "");
        texts.emplace(key + ":" + narrow(line.attribute.text), narrow(line.value.text));
    }
    return texts;
}

Texts readByCore(IConfig& iConfig)
{
    Texts texts;
    std::vector<PString> keys;
    EXPECT_EQ(0, iConfig.getKeys(keys));
    for (const PString& key : keys)
    {
        PString text;
        EXPECT_EQ(0, iConfig.getString(key, text));
        texts[narrow(key)] = narrow(text);
        std::vector<PString> attributes;
        EXPECT_EQ(0, iConfig.getAttributes(key, attributes));
        for (const PString& attribute : attributes)
        {
            if (iConfig.getAttrString(key, attribute, text) == 0)
            {
                texts[narrow(key) + ":" + narrow(attribute)] = narrow(text);
            }
        }
    }
    return texts;
}

/// Attributes with a ":" cannot be read from the core.
void dropUnreadable(Texts& ioTexts)
{
    std::erase_if(ioTexts, [](const auto& iText)
                  { return std::count(iText.first.begin(), iText.first.end(), ':') > 1; });
}
} // namespace

TEST(ConfigToolLines, AreThoseOfTheCore)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    IConfigManager& manager = *core.get<IConfigManager>(kIxlaConfigManagerId);
    std::mt19937 random(20260504);
    for (int i = 0; i < 200; ++i)
    {
        const std::string bytes = randomFile(random);
        const PString path = wide(core.dir.write("x.prs", bytes));
        PBaseptr<IConfig> config;
        ASSERT_EQ(0, manager.loadByFile(L"/dev/null", config));
        const int result = manager.appendByFile(path, config);
        PConfigFile file;
        ASSERT_EQ(0, file.read(path));
        EXPECT_EQ(result == eIxlaBadConfigLine, file.brokenLine() != 0)
            << ::testing::PrintToString(bytes);
        Texts expected = readByTool(file);
        dropUnreadable(expected);
        ASSERT_EQ(expected, readByCore(*config)) << ::testing::PrintToString(bytes);
    }
}
