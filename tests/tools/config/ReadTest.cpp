// SPDX-License-Identifier: MIT
// ids, keys and get, and the command line itself.

#include "ConfigTool.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;

class ConfigToolReads : public ConfigTool
{
};

TEST_F(ConfigToolReads, ListsIDsOfFilesAndStore)
{
    write("config/store.txt", "com.example.ui|colour = red\ncom.example.ui|size = 3\n");
    EXPECT_EQ(0, ask({"ids"}));
    EXPECT_EQ("com.example.net\ncom.example.ui\n", out);
    EXPECT_EQ(0, ask({"ids", "--verbose"}));
    EXPECT_EQ("com.example.net = net.prs, net.local.prs\ncom.example.ui = 2 stored\n", out);
    EXPECT_EQ("", err);
}

TEST_F(ConfigToolReads, ListsIDsAsJson)
{
    write("config/store.txt", "com.example.net|port = 1\n");
    EXPECT_EQ(0, ask({"ids", "--json"}));
    EXPECT_EQ(
        R"({"ids":[{"files":["net.prs","net.local.prs"],"id":"com.example.net","stored":1}]})",
        json().dump());
}

TEST_F(ConfigToolReads, ListsKeysOfFilesAndStore)
{
    write("config/store.txt", "com.example.net|port = 9000\ncom.example.net|added = yes\n");
    EXPECT_EQ(0, ask({"keys", "com.example.net"}));
    EXPECT_EQ("added\nport\n", out);
    EXPECT_EQ(0, ask({"keys", "com.example.net", "-v"}));
    EXPECT_EQ("added = yes\nport = 9000\n", out);
    EXPECT_EQ(0, ask({"keys", "com.example.net", "--json"}));
    EXPECT_EQ(R"({"key":"added","result":0,"value":"yes"})", json()["keys"][0].dump());
}

TEST_F(ConfigToolReads, ShowsWhyAKeyCannotBeRead)
{
    write("config/net.prs", "a|b = 1\n");
    EXPECT_EQ(0, ask({"keys", "com.example.net", "-v"}));
    EXPECT_THAT(out, HasSubstr("a|b = -3004 (eIxlaForbiddenCharacter"));
}

TEST_F(ConfigToolReads, GetsTheValueUnchanged)
{
    write("config/net.prs", "greeting =  Gr\xC3\xBC\xC3\x9F\x65 \xFF = \\ \n");
    EXPECT_EQ(0, ask({"get", "com.example.net", "greeting"}));
    EXPECT_EQ("Gr\xC3\xBC\xC3\x9F\x65 \xFF = \\\n", out);
}

TEST_F(ConfigToolReads, GetsAnAttribute)
{
    write("config/net.prs", "port = 80\nport:unit = tcp\n");
    EXPECT_EQ(0, ask({"get", "com.example.net", "port", "--attr", "unit"}));
    EXPECT_EQ("tcp\n", out);
    EXPECT_EQ(1, ask({"get", "com.example.net", "port", "--attr", "none"}));
    EXPECT_THAT(err, HasSubstr("com.example.net port:none: neither the files nor the store"));
}

TEST_F(ConfigToolReads, GetsJsonOfBytesThatAreNotUtf8)
{
    write("config/net.prs", "port = \xFF\n");
    EXPECT_EQ(0, ask({"get", "com.example.net", "port", "--json"}));
    EXPECT_EQ("\xEF\xBF\xBD", json()["value"]);
    EXPECT_TRUE(json()["attribute"].is_null());
}

TEST_F(ConfigToolReads, ReportsAnUnknownIDOrKeyWithAFix)
{
    EXPECT_EQ(1, ask({"get", "com.example.nte", "port"}));
    EXPECT_THAT(err, HasSubstr("no ID com.example.nte in config/ixlap.configmanager.prs"));
    EXPECT_THAT(err, HasSubstr("`ixla-config --dir config ids`"));
    EXPECT_EQ(1, ask({"get", "com.example.net", "prot"}));
    EXPECT_THAT(err, HasSubstr("`ixla-config --dir config keys com.example.net`"));
    EXPECT_EQ(1, ask({"get", "com.example.net", "a:b"}));
    EXPECT_THAT(err, HasSubstr("-3004 (eIxlaForbiddenCharacter"));
    EXPECT_EQ(1, ask({"get", "ixlap.global", "core.plugins.dir"}));
    EXPECT_THAT(err, HasSubstr("query its process"));
    EXPECT_EQ("", out);
}

TEST_F(ConfigToolReads, DoesNotChangeTheDirectory)
{
    EXPECT_EQ(0, ask({"ids"}));
    EXPECT_EQ(0, ask({"keys", "com.example.net"}));
    EXPECT_EQ(0, ask({"explain", "com.example.net", "port"}));
    EXPECT_FALSE(exists("config/store.txt"));
}

TEST_F(ConfigToolReads, FollowsTheArgumentsOfTheCore)
{
    write("other.prs", "port = 4\n");
    const std::string custom = "custom.config.net.prs=" + dir.file("other.prs");
    EXPECT_EQ(0, ask({"--core", custom, "get", "com.example.net", "port"}));
    EXPECT_EQ("4\n", out);
    write("host.prs", custom + "\n");
    EXPECT_EQ(0, ask({"--core", "core.prs.file=host.prs", "get", "com.example.net", "port"}));
    EXPECT_EQ("4\n", out);
    EXPECT_EQ(1, ask({"--core", "core.prs.file=none.prs", "ids"}));
    EXPECT_THAT(err, HasSubstr("none.prs: the core's property file: -2 (No such file"));
}

TEST_F(ConfigToolReads, RequiresAManagersFile)
{
    EXPECT_EQ(1, run({"--dir", "none", "ids"}));
    EXPECT_THAT(err, HasSubstr("ixla-config: none: No such file or directory; --dir is"));
    EXPECT_EQ(1, run({"--dir", ".", "ids"}));
    EXPECT_THAT(err, HasSubstr("./ixlap.configmanager.prs: -2 (No such file or directory)"));
    write("config/ixlap.configmanager.prs", "nothing\n");
    EXPECT_EQ(1, ask({"ids"}));
    EXPECT_THAT(err, HasSubstr("-3001"));
    EXPECT_THAT(err, HasSubstr("`ixla-config check` shows the line"));
}

TEST_F(ConfigToolReads, WorksWithoutAStore)
{
    write("config/ixlap.configmanager.prs", "com.example.net = net.prs\n");
    EXPECT_EQ(0, ask({"ids"}));
    EXPECT_EQ("com.example.net\n", out);
    EXPECT_EQ(0, ask({"get", "com.example.net", "port"}));
    EXPECT_EQ("80\n", out);
}

TEST_F(ConfigToolReads, RefusesWrongUsage)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"ids"},
        {"frob"},
        {"--dir", "config", "ids", "more"},
        {"--dir", "config", "get", "com.example.net"},
        {"--dir", "config", "ids", "--frob"},
        {"--dir", "config", "--core", "nothing", "ids"},
        {"--dir", "config", "--core", "=x", "ids"},
        {"--dir", "config", "--core", "core.plugins.dir=x", "ids"},
        {"check"}};
    for (const std::vector<std::string>& arguments : wrong)
    {
        EXPECT_EQ(2, run(arguments)) << ::testing::PrintToString(arguments);
        EXPECT_THAT(err, ::testing::StartsWith("ixla-config: "));
        EXPECT_EQ("", out);
    }
}

TEST_F(ConfigToolReads, HelpsWithExamples)
{
    EXPECT_EQ(0, run({"--help"}));
    EXPECT_THAT(out, HasSubstr("ixla-config --dir config explain com.example.net port"));
    EXPECT_EQ(0, run({"--version"}));
    EXPECT_EQ("ixla-config " IXLAL_VERSION "\n", out);
}
