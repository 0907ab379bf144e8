// SPDX-License-Identifier: MIT
// check: mistakes with their line and column.

#include "ConfigTool.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::StartsWith;

class ConfigToolChecks : public ConfigTool
{
protected:
    /// Checks a file with this text; its exit code.
    int check(const std::string& iText)
    {
        write("x.prs", iText);
        return run({"check", "x.prs"});
    }

    void expectWarning(const std::string& iText, const std::string& iFinding)
    {
        EXPECT_EQ(0, check(iText)) << iText;
        EXPECT_EQ("x.prs:" + iFinding + "\n", out) << iText;
    }
};

TEST_F(ConfigToolChecks, PrintsNothingForAGoodFile)
{
    EXPECT_EQ(0, check("\xEF\xBB\xBF# comment = a|b\r\n\r\n  port = 80 \r\nport:const = Yes\r\n"
                       "empty =\nurl = http://a:b/#c\n"));
    EXPECT_EQ("", out);
    EXPECT_EQ("", err);
}

TEST_F(ConfigToolChecks, FindsLinesThatTheCoreRefuses)
{
    EXPECT_EQ(1, check("a = 1\n  port 80\n = 5\n\t:unit = tcp\nb = 2\n"));
    EXPECT_EQ("x.prs:2:3: error: no \"=\" in this line; the core stops reading here\n"
              "x.prs:3:2: error: no key before the \"=\"; the core stops reading here\n"
              "x.prs:4:2: error: no key before the \":\"; the core stops reading here\n",
              out);
}

TEST_F(ConfigToolChecks, WarnsOfDuplicateEntries)
{
    expectWarning("port = 80\nhost = x\n port = 81\n",
                  "3:2: warning: key \"port\" again; this value replaces that of line 1");
    expectWarning("port = 80\nport:unit = tcp\nport : unit = udp\n",
                  "3:8: warning: attribute \"unit\" of \"port\" again; the text of line 2 stays");
}

TEST_F(ConfigToolChecks, WarnsOfAttributesWithoutAValue)
{
    expectWarning("port:unit = tcp\nport = 80\n",
                  "1:1: warning: attribute \"unit\" of \"port\" stands "
                  "before the value of its key in line 2");
    expectWarning("port:unit = tcp\n",
                  "1:1: warning: attribute \"unit\" of \"port\", which has no "
                  "value in this file; without one in another file it is empty");
    expectWarning("port = 80\nport: = 81\n",
                  "2:1: warning: key \"port\" again; this value replaces that of line 1\n"
                  "x.prs:2:7: warning: no attribute after \":\"; this sets the value of \"port\"");
}

TEST_F(ConfigToolChecks, WarnsOfNamesThatCanNeverBeRead)
{
    expectWarning("a|b = 1\n",
                  "1:1: warning: key \"a|b\" can never be read (-3004): it contains \"|\"");
    expectWarning("a = 1\na:b:c = 1\n",
                  "2:3: warning: attribute \"b:c\" can never be read (-3004): it "
                  "contains \":\" or \"|\"");
}

TEST_F(ConfigToolChecks, WarnsOfUnusualCharacters)
{
    expectWarning("\xC3\xA4 = 1\xFF\n",
                  "1:6: warning: byte \\xff is not UTF-8; it is kept unchanged");
    expectWarning("a = 1\rb = 2\r\n",
                  "1:6: warning: carriage return inside the line; it does not end "
                  "the line");
    expectWarning(std::string("a = 1\0b\n", 8),
                  "1:6: warning: zero byte; is this a text file in UTF-8?");
    expectWarning("a = 1\n\xEF\xBB\xBF\x62 = 2\n",
                  "2:1: warning: invisible U+FEFF is part of the key");
    expectWarning("a = 1\xC2\xA0\n", "1:6: warning: invisible U+00A0 is part of the value");
}

TEST_F(ConfigToolChecks, WarnsOfMisleadingValues)
{
    expectWarning("a = 1 # one\n",
                  "1:7: warning: \"#\" does not begin a comment here; it is part of "
                  "the value");
    expectWarning("a = 1\na:const = ture\n",
                  "2:11: warning: const \"ture\" is neither true nor false, "
                  "so it pins nothing");
}

TEST_F(ConfigToolChecks, FailsForWarningsWhenStrict)
{
    write("x.prs", "a = 1\na = 2\n");
    EXPECT_EQ(1, run({"check", "--strict", "x.prs"}));
    write("x.prs", "a = 1\n");
    EXPECT_EQ(0, run({"check", "--strict", "x.prs"}));
}

TEST_F(ConfigToolChecks, ChecksTheFilesOfIDs)
{
    write("config/ixlap.configmanager.prs", "com.example.net = net.prs ,  gone.prs, broken.prs\n"
                                            "com.example.ui =\n"
                                            "ixlap.configmanager.store.file = none/store.txt\n");
    write("config/broken.prs", "broken\n");
    EXPECT_EQ(0, run({"check", "config/ixlap.configmanager.prs"}));
    const std::string file = "config/ixlap.configmanager.prs:";
    EXPECT_THAT(out, StartsWith(file +
                                "1:30: warning: ID \"com.example.net\": config/gone.prs: -2 "
                                "(No such file or directory)\n" +
                                file +
                                "1:40: warning: ID \"com.example.net\": config/broken.prs: "
                                "-3001 (eIxlaBadConfigLine"));
    EXPECT_THAT(out, HasSubstr(file + "2:17: warning: ID \"com.example.ui\" has no files\n" + file +
                               "3:34: warning: the directory of the store none/store.txt is "
                               "not there\n"));
}

TEST_F(ConfigToolChecks, ChecksTheFilesOfIDsInAnotherDirectory)
{
    EXPECT_EQ(0, ask({"check", "config/ixlap.configmanager.prs"}));
    EXPECT_EQ("", out);
    EXPECT_EQ(0, ask({"check", "config/ixlap.configmanager.prs", "--core",
                      "custom.config.net.prs=/no/where"}));
    EXPECT_THAT(out, HasSubstr("1:19: warning: ID \"com.example.net\": /no/where: -2"));
}

TEST_F(ConfigToolChecks, RecognisesTheStoreOfADirectory)
{
    write("config/store.txt", "com.example.net|port = 1 # 2\nport = 2\n");
    EXPECT_EQ(0, run({"check", "config/store.txt"}));
    EXPECT_EQ(
        "config/store.txt:2:1: warning: \"port\" is not \"ID|key\", so it can never be read\n",
        out);
    write("elsewhere", "a|b = 1\na|b|c = 2\nbroken\n");
    EXPECT_EQ(1, run({"check", "--store", "elsewhere"}));
    EXPECT_EQ("elsewhere:2:1: warning: \"a|b|c\" is not \"ID|key\", so it can never be read\n"
              "elsewhere:3:1: error: no \"=\" in this line; the core ignores this store\n",
              out);
}

TEST_F(ConfigToolChecks, WarnsOfMisspeltKeysOfTheCore)
{
    write("core.prs",
          "core.plugins.dir = plugins\ncore.plugin.config.dir = config\n"
          "core.notify.exit.timeouts = 5\ncore.nothing = 1\nCore.Plugins.Log.Dir = log\n"
          "custom.configs.net.prs = x\nplugin.own = 1\nacme.core.log = 2\n");
    EXPECT_EQ(0, run({"check", "core.prs"}));
    const std::string key = " is not a key of the core; ";
    EXPECT_EQ("core.prs:2:1: warning: \"core.plugin.config.dir\"" + key +
                  "did you mean \"core.plugins.config.dir\"?\n"
                  "core.prs:3:1: warning: \"core.notify.exit.timeouts\"" +
                  key +
                  "did you mean \"core.notify.exit.timeout\"?\n"
                  "core.prs:4:1: warning: \"core.nothing\"" +
                  key +
                  "`ixla-config core-keys` lists them\n"
                  "core.prs:5:1: warning: \"Core.Plugins.Log.Dir\"" +
                  key +
                  "did you mean \"core.plugins.log.dir\"?\n"
                  "core.prs:6:1: warning: \"custom.configs.net.prs\"" +
                  key + "did you mean \"custom.config.net.prs\"?\n",
              out);
    EXPECT_EQ(1, run({"check", "--strict", "core.prs"}));
}

TEST_F(ConfigToolChecks, WarnsOfMisplacedKeysOfTheCore)
{
    write("core.prs", "core.plugins.dir = plugins\ncore.log.level = 2\n"
                      "ixlap.configmanager.store.file = store.txt\n");
    EXPECT_EQ(0, run({"check", "core.prs"}));
    EXPECT_EQ("core.prs:2:1: warning: \"core.log.level\" has no effect here; the core reads it as "
              "an argument only\n"
              "core.prs:3:1: warning: \"ixlap.configmanager.store.file\" has no effect here; the "
              "core reads it in ixlap.configmanager.prs\n",
              out);
    write("config/ixlap.configmanager.prs", "core.plugins.log.level = 2\n"
                                            "ixlap.configmanager.store.fil = store.txt\n"
                                            "ixlap.configmanager.stores = store.txt\n");
    EXPECT_EQ(0, run({"check", "config/ixlap.configmanager.prs"}));
    const std::string file = "config/ixlap.configmanager.prs:";
    EXPECT_EQ(file +
                  "1:1: warning: \"core.plugins.log.level\" has no effect here; the core reads "
                  "it as an argument or in the property file\n" +
                  file +
                  "2:1: warning: \"ixlap.configmanager.store.fil\" is not a key of the core; did "
                  "you mean \"ixlap.configmanager.store.file\"?\n" +
                  file +
                  "3:1: warning: \"ixlap.configmanager.stores\" is not a key of the core; "
                  "`ixla-config core-keys` lists them\n",
              out);
}

TEST_F(ConfigToolChecks, WarnsOfValuesOfAnotherType)
{
    write("core.prs", "core.plugins.log.level = high\ncore.plugins.log.parts = -1\n"
                      "core.free.plugins.lib = maybe\ncore.free.plugins.lib:note = any\n"
                      "core.notify.exit.timeout = 99999999999\n");
    EXPECT_EQ(0, run({"check", "core.prs"}));
    EXPECT_EQ("core.prs:1:26: warning: \"high\" is not a number of 32 bits; the value of the "
              "core's log counts\n"
              "core.prs:2:26: warning: \"-1\" is negative; it counts as 0\n"
              "core.prs:3:25: warning: \"maybe\" is neither true nor false; the libraries are "
              "closed\n"
              "core.prs:5:28: warning: \"99999999999\" is not a number of 32 bits; the stop waits "
              "for 300 seconds\n",
              out);
}

TEST_F(ConfigToolChecks, LeavesNamesOfPluginsAlone)
{
    write("config/net.prs", "core.plugin.dir = 1\ncore.temperature = 2\ncore.log.level = 2\n");
    EXPECT_EQ(0, run({"check", "config/net.prs"}));
    EXPECT_EQ("config/net.prs:3:1: warning: \"core.log.level\" has no effect here; the core reads "
              "it as an argument only\n",
              out);
    expectWarning("core.plugin.dir = 1\n",
                  "1:1: warning: \"core.plugin.dir\" is not a key of the core; did you mean "
                  "\"core.plugins.dir\"?");
    EXPECT_EQ(0, check("core.temperature = 2\n"));
    EXPECT_EQ("", out);
    EXPECT_EQ(0, run({"check", "x.prs", "--core", "core.prs.file=x.prs"}));
    EXPECT_THAT(out, HasSubstr("\"core.temperature\" is not a key of the core"));
    write("config/ixlap.configmanager.prs", "core.net = net.prs\n");
    EXPECT_EQ(0, run({"check", "config/ixlap.configmanager.prs"}));
    EXPECT_EQ("", out);
}

TEST_F(ConfigToolChecks, WarnsOfItsOwnArgumentsOfTheCore)
{
    EXPECT_EQ(0, ask({"get", "com.example.net", "port", "--core", "core.prs.fil=x"}));
    EXPECT_EQ("80\n", out);
    EXPECT_EQ("ixla-config: warning: --core: argument core.prs.fil=x: \"core.prs.fil\" is not a "
              "key of the core; did you mean \"core.prs.file\"?\n",
              err);
}

TEST_F(ConfigToolChecks, ListsTheKeysOfTheCore)
{
    EXPECT_EQ(0, run({"core-keys"}));
    EXPECT_THAT(out, HasSubstr("core.log.level: highest level that is logged\n"
                               "    number; argument; default: 0\n"));
    EXPECT_EQ(0, run({"core-keys", "--json"}));
    EXPECT_EQ("custom.config.NAME", json()["keys"].at(19)["key"]);
}

TEST_F(ConfigToolChecks, ReportsUnreadableFiles)
{
    EXPECT_EQ(1, run({"check", "none.prs", "config", "config/net.prs"}));
    EXPECT_EQ("ixla-config: none.prs: cannot be read: -2 (No such file or directory)\n"
              "ixla-config: config: cannot be read: -21 (Is a directory)\n",
              err);
}

TEST_F(ConfigToolChecks, RefusesWrongOptions)
{
    EXPECT_EQ(1, run({"--dir", "none", "check", "config/net.prs"}));
    EXPECT_THAT(err, HasSubstr("none: No such file or directory"));
    EXPECT_EQ(1, run({"--core", "core.prs.file=none.prs", "check", "config/net.prs"}));
    EXPECT_THAT(err, HasSubstr("none.prs: the core's property file: -2"));
}

TEST_F(ConfigToolChecks, PrintsJson)
{
    write("x.prs", "a = 1\nbroken\n");
    EXPECT_EQ(1, run({"check", "--json", "x.prs"}));
    EXPECT_EQ(1, json()["errors"]);
    EXPECT_EQ(0, json()["warnings"]);
    EXPECT_EQ(R"({"column":1,"line":2,"severity":"error",)"
              R"("text":"no \"=\" in this line; the core stops reading here"})",
              json()["files"][0]["findings"][0].dump());
}

TEST_F(ConfigToolChecks, HandlesGarbage)
{
    std::string garbage;
    for (unsigned int i = 0; i < 20000; ++i)
    {
        garbage += static_cast<char>((i * 2654435761u) >> 13);
    }
    EXPECT_EQ(1, check(garbage));
    EXPECT_EQ(1, run({"check", "--json", "x.prs"}));
    EXPECT_FALSE(json().is_discarded());
}
