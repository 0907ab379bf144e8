// SPDX-License-Identifier: MIT
// store and remove.

#include "ConfigTool.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;

class ConfigToolStores : public ConfigTool
{
protected:
    static constexpr char kID[] = "com.example.net";
};

TEST_F(ConfigToolStores, AValueForReaders)
{
    EXPECT_EQ(0, ask({"store", kID, "port", "9000"}));
    EXPECT_EQ("config/store.txt: com.example.net|port = 9000\n", out);
    EXPECT_EQ("com.example.net|port = 9000\n", read("config/store.txt"));
    EXPECT_EQ(0, ask({"get", kID, "port"}));
    EXPECT_EQ("9000\n", out);
}

TEST_F(ConfigToolStores, UnusualTextsUnchanged)
{
    const std::string odd = "-5 'a' = \n\xFF|\xE2\x82\xAC";
    EXPECT_EQ(0, ask({"store", kID, "port", odd}));
    EXPECT_EQ(0, ask({"get", kID, "port"}));
    EXPECT_EQ(odd + "\n", out);
    EXPECT_EQ(0, ask({"store", kID, "port", "-5"}));
    EXPECT_EQ(0, ask({"store", kID, "port", ""}));
    EXPECT_EQ("com.example.net|port = \n", read("config/store.txt"));
}

TEST_F(ConfigToolStores, AnAttributeOnceItsKeyHasAValue)
{
    EXPECT_EQ(1, ask({"store", kID, "port", "tcp", "--attr", "unit"}));
    EXPECT_THAT(err, HasSubstr("-3002 (eIxlaNoValueForAttribute"));
    EXPECT_THAT(err, HasSubstr("store a value for the key first"));
    EXPECT_EQ(0, ask({"store", kID, "port", "9000"}));
    EXPECT_EQ(0, ask({"store", kID, "port", "tcp", "--attr", "unit"}));
    EXPECT_EQ("com.example.net|port = 9000\ncom.example.net|port:unit = tcp\n",
              read("config/store.txt"));
    EXPECT_EQ(1, ask({"store", kID, "port", "udp", "--attr", "unit"}));
    EXPECT_THAT(err, HasSubstr("com.example.net|port:unit is \"tcp\" and is not changed"));
}

TEST_F(ConfigToolStores, NoRemovedValue)
{
    write("config/store.txt", "com.example.net|port = 9\ncom.example.net|port:unit = tcp\n");
    EXPECT_EQ(0, ask({"remove", kID, "port", "--attr", "unit"}));
    EXPECT_EQ("config/store.txt: removed com.example.net|port:unit\n", out);
    EXPECT_EQ("com.example.net|port = 9\n", read("config/store.txt"));
    EXPECT_EQ(0, ask({"remove", kID, "port"}));
    EXPECT_EQ("", read("config/store.txt"));
    EXPECT_EQ(1, ask({"remove", kID, "port"}));
    EXPECT_THAT(err, HasSubstr("config/store.txt: nothing is stored for com.example.net|port"));
}

TEST_F(ConfigToolStores, NothingWithUnreadableNames)
{
    EXPECT_EQ(1, ask({"store", kID, "a|b", "1"}));
    EXPECT_THAT(err, HasSubstr("com.example.net|a|b: -3004 (eIxlaForbiddenCharacter"));
    for (const std::string name : {"", " a", "a\t"})
    {
        EXPECT_EQ(2, ask({"store", kID, name, "1"})) << name;
        EXPECT_EQ(2, ask({"store", name, "port", "1"})) << name;
        EXPECT_EQ(2, ask({"store", kID, "port", "1", "--attr", name})) << name;
        EXPECT_EQ(2, ask({"remove", kID, name})) << name;
    }
    EXPECT_EQ(2, ask({"store", kID, "port", "1 "}));
    EXPECT_THAT(err, HasSubstr("value \"1 \": the store does not keep blanks at the ends"));
}

TEST_F(ConfigToolStores, NothingWithoutAStoreFile)
{
    write("config/ixlap.configmanager.prs", "com.example.net = net.prs\n");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"store", kID, "port", "1"}, {"remove", kID, "port"}})
    {
        EXPECT_EQ(1, ask(arguments));
        EXPECT_THAT(err, HasSubstr("config/ixlap.configmanager.prs: -3003 (eIxlaNoStoreFile"));
        EXPECT_THAT(err, HasSubstr("add a line \"ixlap.configmanager.store.file = store.txt\""));
    }
}

TEST_F(ConfigToolStores, NothingInAMissingDirectory)
{
    write("config/ixlap.configmanager.prs", "ixlap.configmanager.store.file = none/store.txt\n");
    EXPECT_EQ(1, ask({"store", kID, "port", "1"}));
    EXPECT_THAT(err, HasSubstr("none: -2 (No such file or directory); the directory "
                               "must exist and be readable"));
}

TEST_F(ConfigToolStores, NothingInABrokenStore)
{
    write("config/store.txt", "broken\n");
    EXPECT_EQ(1, ask({"store", kID, "port", "1"}));
    EXPECT_THAT(err, HasSubstr("`ixla-config check --store config/store.txt` shows the line"));
    EXPECT_EQ("broken\n", read("config/store.txt"));
}

TEST_F(ConfigToolStores, WithAWarningOfLostOrUnreadValues)
{
    write("config/store.txt", "# mine\n");
    EXPECT_EQ(0, ask({"store", kID, "port", "1"}));
    EXPECT_THAT(err, HasSubstr("warning: config/store.txt: its comments are lost"));
    write("config/net.local.prs", "port:const = true\n");
    EXPECT_EQ(0, ask({"store", kID, "port", "2"}));
    EXPECT_THAT(err, HasSubstr("warning: a file pins port with const"));
    EXPECT_EQ(0, ask({"store", "com.example.nte", "port", "2"}));
    EXPECT_THAT(err, HasSubstr("warning: no files are listed for com.example.nte"));
}
